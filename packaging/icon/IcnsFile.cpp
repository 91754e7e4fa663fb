#include "IcnsFile.h"

#include <cstddef>
#include <limits>

namespace quillard::packaging {
namespace {

constexpr std::size_t kHeader = 8;  // Four letters, and the length of all, these included.

void append(std::vector<std::uint8_t>& file, std::string_view letters, std::size_t length) {
  file.insert(file.end(), letters.begin(), letters.end());
  for (int shift = 24; shift >= 0; shift -= 8) file.push_back(static_cast<std::uint8_t>(length >> shift));
}

}  // namespace

std::optional<std::vector<std::uint8_t>> icnsFile(const std::vector<IcnsPicture>& pictures) {
  std::size_t length = kHeader;
  for (const auto& picture : pictures) {
    if (picture.type.size() != 4) return std::nullopt;
    length += kHeader + picture.png.size();
    if (length > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  }
  std::vector<std::uint8_t> file;
  file.reserve(length);
  append(file, "icns", length);
  for (const auto& picture : pictures) {
    append(file, picture.type, kHeader + picture.png.size());
    file.insert(file.end(), picture.png.begin(), picture.png.end());
  }
  return file;
}

}  // namespace quillard::packaging
