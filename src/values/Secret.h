#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace quillard {

// Bytes that must not be seen: never printed (there is no way to stream one), overwritten before their memory goes
// back.
class Secret {
 public:
  Secret() = default;
  explicit Secret(std::span<const std::uint8_t> bytes) : bytes(bytes.begin(), bytes.end()) {}
  explicit Secret(std::string_view text) : bytes(text.begin(), text.end()) {}
  Secret(const Secret&) = default;
  Secret(Secret&& other) noexcept : bytes(std::move(other.bytes)) { other.bytes.clear(); }
  Secret& operator=(const Secret& other) {
    if (this != &other) *this = Secret(other);
    return *this;
  }
  Secret& operator=(Secret&& other) noexcept {
    bytes.swap(other.bytes);  // What was here is wiped with `other`.
    return *this;
  }
  ~Secret() {
    volatile std::uint8_t* byte = bytes.data();
    for (std::size_t left = bytes.size(); left > 0; --left) *byte++ = 0;
  }

  // Valid while this object lives and is not assigned to.
  [[nodiscard]] std::span<const std::uint8_t> view() const { return bytes; }
  [[nodiscard]] std::string_view text() const { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }
  [[nodiscard]] bool isEmpty() const { return bytes.empty(); }

  // Takes the same time wherever two secrets of one length differ.
  bool operator==(const Secret& other) const {
    if (bytes.size() != other.bytes.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) difference |= static_cast<unsigned>(bytes[i] ^ other.bytes[i]);
    return difference == 0;
  }

 private:
  std::vector<std::uint8_t> bytes;
};

}  // namespace quillard
