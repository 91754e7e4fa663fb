#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillard {

// Overwrites bytes with zeros, in a way that no compiler leaves out. The only way to wipe memory in this program: for
// buffers that a secret passes through on its way into or out of a `Secret`, such as a library's. `bytes`: a vector,
// array or text; its size stays. A text or vector that grew before has left copies behind, which nothing can wipe.
template <class Bytes>
void wipe(Bytes& bytes) {
  static_assert(sizeof(*bytes.data()) == 1);
  auto* byte = reinterpret_cast<volatile unsigned char*>(bytes.data());
  for (std::size_t left = bytes.size(); left > 0; --left) *byte++ = 0;
}

// Bytes that must stay confidential: never printed (there is no way to stream one), overwritten before their memory
// goes back.
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
  ~Secret() { wipe(bytes); }

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

// Moves a secret out of a text that passed through code which knows nothing of secrets: wipes the text and empties it.
[[nodiscard]] inline Secret takenSecret(std::string& text) {
  Secret secret{std::string_view{text}};
  wipe(text);
  text.clear();
  return secret;
}

}  // namespace quillard
