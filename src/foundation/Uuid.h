#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quillard {

// An identity of 128 bits. The default one is all zeros.
class Uuid {
 public:
  Uuid() = default;
  explicit Uuid(const std::array<std::uint8_t, 16>& bytes) : bytes(bytes) {}

  // The random identity (version 4) that these bytes make; six of their bits are replaced by the version and variant.
  [[nodiscard]] static Uuid fromRandomBytes(std::array<std::uint8_t, 16> bytes);
  // Reads the hyphenated form of 36 characters, in either case. Absent for anything else.
  [[nodiscard]] static std::optional<Uuid> parse(std::string_view text);

  // The canonical form: 36 characters, upper case, hyphens after digits 8, 12, 16 and 20.
  [[nodiscard]] std::string text() const;

  [[nodiscard]] const std::array<std::uint8_t, 16>& data() const { return bytes; }
  auto operator<=>(const Uuid&) const = default;

 private:
  std::array<std::uint8_t, 16> bytes{};
};

}  // namespace quillard

template <>
struct std::hash<quillard::Uuid> {
  std::size_t operator()(const quillard::Uuid& uuid) const noexcept {
    const std::string_view bytes(reinterpret_cast<const char*>(uuid.data().data()), uuid.data().size());
    return std::hash<std::string_view>{}(bytes);
  }
};
