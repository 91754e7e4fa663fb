#include "foundation/StrictBase64.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "values/Secret.h"

namespace quillard {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Any value with a bit above the lower 24 marks a character that is not of the alphabet.
constexpr std::uint32_t kForeign = 0xFF000000U;
using DigitTable = std::array<std::uint32_t, 256>;

// The value of a digit, moved to its place in the group of four.
constexpr DigitTable digitTable(unsigned shift) {
  DigitTable table{};
  table.fill(kForeign);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint32_t>(i) << shift;
  }
  return table;
}

constexpr DigitTable kFirst = digitTable(18);
constexpr DigitTable kSecond = digitTable(12);
constexpr DigitTable kThird = digitTable(6);
constexpr DigitTable kFourth = digitTable(0);

// Two digits for every twelve bits, so that a group takes two look-ups.
using PairTable = std::array<std::array<char, 2>, 4096>;
constexpr PairTable pairTable() {
  PairTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = {kAlphabet[i >> 6U], kAlphabet[i & 63U]};
  return table;
}
constexpr PairTable kPairs = pairTable();

std::uint32_t group(const char* digits) {
  const auto* byte = reinterpret_cast<const unsigned char*>(digits);
  return kFirst[byte[0]] | kSecond[byte[1]] | kThird[byte[2]] | kFourth[byte[3]];
}

void putThree(std::uint8_t* out, std::uint32_t value) {
  out[0] = static_cast<std::uint8_t>(value >> 16U);
  out[1] = static_cast<std::uint8_t>(value >> 8U);
  out[2] = static_cast<std::uint8_t>(value);
}

void putDigits(char* out, std::uint32_t value) {
  const auto& high = kPairs[value >> 12U];
  const auto& low = kPairs[value & 0xFFFU];
  out[0] = high[0];
  out[1] = high[1];
  out[2] = low[0];
  out[3] = low[1];
}

// The last, padded group: one or two bytes. The bits beyond them must be zero.
bool appendPaddedGroup(std::string_view digits, std::vector<std::uint8_t>& bytes) {
  const bool isOneByte = digits[2] == '=';
  const std::array<char, 4> filled{digits[0], digits[1], isOneByte ? 'A' : digits[2], 'A'};
  const std::uint32_t value = group(filled.data());
  const std::uint32_t strayBits = isOneByte ? 0xFFFFU : 0xFFU;
  if ((value & (kForeign | strayBits)) != 0) return false;
  bytes.push_back(static_cast<std::uint8_t>(value >> 16U));
  if (!isOneByte) bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
  return true;
}

}  // namespace

std::string base64Text(std::span<const std::uint8_t> bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  char* out = text.data();
  const std::size_t whole = bytes.size() / 3 * 3;
  for (std::size_t i = 0; i < whole; i += 3, out += 4) {
    putDigits(out, static_cast<std::uint32_t>(bytes[i] << 16U | bytes[i + 1] << 8U | bytes[i + 2]));
  }
  const std::size_t left = bytes.size() - whole;
  if (left == 0) return text;
  const std::uint32_t second = left == 2 ? bytes[whole + 1] : 0U;
  std::array<char, 4> digits{};
  putDigits(digits.data(), static_cast<std::uint32_t>(bytes[whole] << 16U) | second << 8U);
  for (std::size_t i = 0; i <= left; ++i) out[i] = digits[i];
  return text;
}

std::optional<std::vector<std::uint8_t>> base64Bytes(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const bool isPadded = text.ends_with('=');
  const std::size_t whole = isPadded ? text.size() - 4 : text.size();
  std::vector<std::uint8_t> bytes(whole / 4 * 3);
  std::uint32_t all = 0;
  std::uint8_t* out = bytes.data();
  for (std::size_t i = 0; i < whole; i += 4, out += 3) {
    const std::uint32_t value = group(text.data() + i);
    all |= value;
    putThree(out, value);
  }
  if ((all & kForeign) != 0) return std::nullopt;
  if (isPadded && !appendPaddedGroup(text.substr(whole), bytes)) return std::nullopt;
  return bytes;
}

std::string base64UrlText(std::span<const std::uint8_t> bytes) {
  auto text = base64Text(bytes);
  text.resize(text.size() - static_cast<std::size_t>(std::count(text.begin(), text.end(), '=')));
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
  return text;
}

std::optional<std::vector<std::uint8_t>> base64UrlBytes(std::string_view text) {
  constexpr std::size_t kGroup = 4;
  if (text.find_first_of("+/=") != std::string_view::npos) return std::nullopt;
  std::string standard(text);
  std::replace(standard.begin(), standard.end(), '-', '+');
  std::replace(standard.begin(), standard.end(), '_', '/');
  standard.append((kGroup - standard.size() % kGroup) % kGroup, '=');
  auto bytes = base64Bytes(standard);
  wipe(standard);  // It may hold a secret.
  return bytes;
}

}  // namespace quillard
