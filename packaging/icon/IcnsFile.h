#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// The system's file of one icon in many sizes.
namespace quillard::packaging {

// One place in the file: a picture of so many points, for screens of one or two pixels a point.
struct IcnsPlace {
  std::string_view type;
  int pixels = 0;
};

// Every size that the system asks for, but for 16 and 32 points on a screen of one pixel a point: their places in the
// file are drawn wrongly for applications when they hold PNG, and without them the system takes ic11 and ic12, made
// smaller.
inline constexpr std::array<IcnsPlace, 8> kIcnsPlaces{{{"ic07", 128},
                                                       {"ic08", 256},
                                                       {"ic09", 512},
                                                       {"ic10", 1024},
                                                       {"ic11", 32},
                                                       {"ic12", 64},
                                                       {"ic13", 256},
                                                       {"ic14", 512}}};

struct IcnsPicture {
  std::string_view type;
  std::vector<std::uint8_t> png;
};

// Absent when it would be larger than such a file can be, or a type is not of four letters.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> icnsFile(const std::vector<IcnsPicture>& pictures);

}  // namespace quillard::packaging
