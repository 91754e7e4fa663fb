#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quillard::catalogues {

// Reads numbers and pieces out of bytes that may be anything: what lies beyond the end is absent.
class Bytes {
 public:
  enum class Order { little, big };

  Bytes(std::string_view bytes, Order order) : bytes(bytes), order(order) {}

  [[nodiscard]] std::size_t size() const { return bytes.size(); }
  [[nodiscard]] std::optional<std::uint8_t> byte(std::size_t at) const { return number<std::uint8_t>(at); }
  [[nodiscard]] std::optional<std::uint16_t> number16(std::size_t at) const { return number<std::uint16_t>(at); }
  [[nodiscard]] std::optional<std::uint32_t> number32(std::size_t at) const { return number<std::uint32_t>(at); }
  [[nodiscard]] std::optional<std::string_view> piece(std::size_t at, std::size_t length) const {
    if (at > bytes.size() || length > bytes.size() - at) return std::nullopt;
    return bytes.substr(at, length);
  }

 private:
  template <class Number>
  [[nodiscard]] std::optional<Number> number(std::size_t at) const {
    const auto raw = piece(at, sizeof(Number));
    if (!raw) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      const auto next = static_cast<unsigned char>((*raw)[order == Order::big ? i : sizeof(Number) - 1 - i]);
      value = (value << 8U) | next;
    }
    return static_cast<Number>(value);
  }

  std::string_view bytes;
  Order order;
};

}  // namespace quillard::catalogues
