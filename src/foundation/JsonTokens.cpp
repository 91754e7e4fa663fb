#include "foundation/JsonTokens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace quillard {
namespace {

constexpr unsigned char byteOf(char c) { return static_cast<unsigned char>(c); }

// Long strings are gone through in blocks: sixteen bytes are compared in one instruction, wherever the processor can.
using Bytes = unsigned char __attribute__((vector_size(16)));
using Mask = signed char __attribute__((vector_size(16)));  // -1 where it is so.
constexpr std::size_t kBlock = 4 * sizeof(Bytes);

struct Base64 {
  static bool has(unsigned char c) {
    return static_cast<unsigned char>((c | 0x20U) - 'a') < 26 || static_cast<unsigned char>(c - '0') < 10 || c == '+' ||
           c == '/' || c == '=';
  }
  static Mask in(Bytes c) {
    const Bytes letter = (c | 0x20) - 'a';
    const Bytes digit = c - '0';
    return Mask(letter < 26) | Mask(digit < 10) | Mask(c == '+') | Mask(c == '/') | Mask(c == '=');
  }
};

// ASCII that means itself within a string.
struct Plain {
  static bool has(unsigned char c) { return c >= 0x20 && c < 0x80 && c != '"' && c != '\\'; }
  static Mask in(Bytes c) { return Mask(c - 0x20 < 0x60) & Mask(c != '"') & Mask(c != '\\'); }
};

template <class Set>
bool isWholeBlockIn(const char* block) {
  Mask all = Mask{} - 1;
  for (std::size_t i = 0; i < kBlock; i += sizeof(Bytes)) {
    Bytes bytes;
    std::memcpy(&bytes, block + i, sizeof bytes);
    all &= Set::in(bytes);
  }
  std::array<std::uint64_t, 2> halves{};
  std::memcpy(halves.data(), &all, sizeof all);
  return (halves[0] & halves[1]) == ~std::uint64_t{0};
}

// The first byte from `at` on that is not in the set, or the end. Where strings are short, or full of what is not in
// it, blocks would be in the way.
template <class Set>
std::size_t endOf(std::string_view text, std::size_t at) {
  const std::size_t first = std::min(text.size(), at + kBlock / 4);
  while (at < first && Set::has(byteOf(text[at]))) ++at;
  if (at < first) return at;
  while (at + kBlock <= text.size() && isWholeBlockIn<Set>(text.data() + at)) at += kBlock;
  while (at < text.size() && Set::has(byteOf(text[at]))) ++at;
  return at;
}

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isBeyondAllLimits(std::string_view number) {
  constexpr std::size_t kAlwaysSmallEnough = 300;  // Digits.
  const bool canBe = number.size() > kAlwaysSmallEnough || number.find_first_of("eE") != std::string_view::npos;
  return canBe && std::isinf(std::strtod(std::string(number).c_str(), nullptr));
}

int hexadecimal(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

constexpr bool isHighSurrogate(int unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(int unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The length of the character of several bytes that begins there, 0 where there is none. RFC 3629, section 4.
std::size_t characterLength(std::string_view rest) {
  const unsigned char first = byteOf(rest.front());
  const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                             : (first & 0xF0U) == 0xE0        ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 0;
  if (length == 0 || rest.size() < length) return 0;
  const unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byteOf(rest[1]) < lowest || byteOf(rest[1]) > highest) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byteOf(rest[i]) & 0xC0U) != 0x80) return 0;
  }
  return length;
}

std::uint64_t hashOfName(std::string_view name) {
  std::uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a.
  for (const char c : name) hash = (hash ^ byteOf(c)) * 0x100000001B3U;
  return hash;
}

void appendUtf8(std::string& text, unsigned point) {
  const auto append = [&text](unsigned byte) { text += static_cast<char>(byte); };
  if (point < 0x80) return append(point);
  if (point < 0x800) {
    append(0xC0U | point >> 6U);
  } else if (point < 0x10000) {
    append(0xE0U | point >> 12U);
    append(0x80U | (point >> 6U & 0x3FU));
  } else {
    append(0xF0U | point >> 18U);
    append(0x80U | (point >> 12U & 0x3FU));
    append(0x80U | (point >> 6U & 0x3FU));
  }
  append(0x80U | (point & 0x3FU));
}

unsigned codeUnit(std::string_view digits) {
  unsigned unit = 0;
  for (std::size_t i = 0; i < 4; ++i) unit = unit << 4U | static_cast<unsigned>(hexadecimal(digits[i]));
  return unit;
}

char meaningOf(char escaped) {
  switch (escaped) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return escaped;
  }
}

}  // namespace

JsonTokens::JsonTokens(std::string_view text, JsonLimits limits) : text(text), limits(limits) {}

JsonToken JsonTokens::fail(Failure why) {
  problem = why;
  return JsonToken::failed;
}

JsonToken JsonTokens::next() {
  if (problem != Failure::none) return JsonToken::failed;
  if (text.size() > limits.bytes) return fail(Failure::tooLong);
  skipBlanks();
  if (expected == Expected::nothing) return isAtEnd() ? JsonToken::end : fail(Failure::malformed);
  if (isAtEnd()) return fail(Failure::malformed);
  switch (expected) {
    case Expected::valueOrEnd:
      return current() == ']' ? close() : readValue();
    case Expected::nameOrEnd:
      return current() == '}' ? close() : readName();
    case Expected::name:
      return readName();
    case Expected::commaOrEnd:
      return current() == ',' ? afterComma() : close();
    default:
      return readValue();
  }
}

void JsonTokens::skipBlanks() {
  while (!isAtEnd() && (current() == ' ' || current() == '\n' || current() == '\r' || current() == '\t')) ++at;
}

JsonToken JsonTokens::afterComma() {
  ++at;
  skipBlanks();
  if (isAtEnd()) return fail(Failure::malformed);
  return open.back().isObject ? readName() : readValue();
}

JsonToken JsonTokens::readValue() {
  if (++values > limits.values) return fail(Failure::tooManyValues);
  switch (current()) {
    case '{':
      return begin(true);
    case '[':
      return begin(false);
    case '"':
      if (!readString()) return fail(Failure::malformed);
      didReadValue();
      return JsonToken::string;
    case 't':
      return readLiteral("true");
    case 'f':
      return readLiteral("false");
    case 'n':
      return readLiteral("null");
    default:
      return readNumber();
  }
}

void JsonTokens::didReadValue() { expected = open.empty() ? Expected::nothing : Expected::commaOrEnd; }

JsonToken JsonTokens::begin(bool isObject) {
  if (open.size() >= limits.depth) return fail(Failure::tooDeep);
  ++at;
  open.push_back({isObject, names.size()});
  expected = isObject ? Expected::nameOrEnd : Expected::valueOrEnd;
  return isObject ? JsonToken::beginObject : JsonToken::beginList;
}

JsonToken JsonTokens::close() {
  const Open ended = open.back();
  if (current() != (ended.isObject ? '}' : ']')) return fail(Failure::malformed);
  ++at;
  names.resize(ended.firstName);
  open.pop_back();
  didReadValue();
  return ended.isObject ? JsonToken::endObject : JsonToken::endList;
}

JsonToken JsonTokens::readName() {
  if (current() != '"' || !readString()) return fail(Failure::malformed);
  if (names.size() - open.back().firstName >= limits.members) return fail(Failure::tooManyMembers);
  const Name name{hashOfName(hasEscapes ? unescapedJson(written) : written), written, hasEscapes};
  if (standsAlready(name)) return fail(Failure::doubledMember);
  names.push_back(name);
  skipBlanks();
  if (isAtEnd() || current() != ':') return fail(Failure::malformed);
  ++at;
  expected = Expected::value;
  return JsonToken::name;
}

bool JsonTokens::standsAlready(const Name& name) const {
  const auto meaning = [](const Name& of) { return of.isEscaped ? unescapedJson(of.raw) : std::string(of.raw); };
  return std::any_of(names.begin() + static_cast<std::ptrdiff_t>(open.back().firstName), names.end(),
                     [&](const Name& other) { return other.hash == name.hash && meaning(other) == meaning(name); });
}

JsonToken JsonTokens::readLiteral(std::string_view literal) {
  written = text.substr(at, literal.size());
  if (written != literal) return fail(Failure::malformed);
  at += literal.size();
  didReadValue();
  return JsonToken::literal;
}

// At least one digit.
bool JsonTokens::skipDigits() {
  const std::size_t from = at;
  while (!isAtEnd() && isDigit(current())) ++at;
  return at > from;
}

JsonToken JsonTokens::readNumber() {
  const std::size_t from = at;
  if (current() == '-') ++at;
  const bool beginsWithZero = !isAtEnd() && current() == '0';
  const std::size_t digits = at;
  if (!skipDigits() || (beginsWithZero && at - digits > 1)) return fail(Failure::malformed);
  if (!isAtEnd() && current() == '.') {
    ++at;
    if (!skipDigits()) return fail(Failure::malformed);
  }
  if (!isAtEnd() && (current() == 'e' || current() == 'E')) {
    ++at;
    if (!isAtEnd() && (current() == '+' || current() == '-')) ++at;
    if (!skipDigits()) return fail(Failure::malformed);
  }
  written = text.substr(from, at - from);
  if (isBeyondAllLimits(written)) return fail(Failure::malformed);
  didReadValue();
  return JsonToken::number;
}

// From the opening quote to behind the closing one.
bool JsonTokens::readString() {
  const std::size_t from = ++at;
  hasEscapes = false;
  at = endOf<Base64>(text, at);
  consistsOfBase64 = !isAtEnd() && current() == '"';
  while (!consistsOfBase64) {
    at = endOf<Plain>(text, at);
    if (isAtEnd()) return false;
    if (current() == '"') break;
    if (!(current() == '\\' ? skipEscape() : skipCharacter())) return false;
  }
  written = text.substr(from, at - from);
  ++at;
  return true;
}

// The four digits there, or -1.
int JsonTokens::hexadecimals(std::size_t from) const {
  if (from + 4 > text.size()) return -1;
  int unit = 0;
  for (std::size_t i = from; i < from + 4; ++i) {
    const int digit = hexadecimal(text[i]);
    if (digit < 0) return -1;
    unit = unit * 16 + digit;
  }
  return unit;
}

bool JsonTokens::skipEscape() {
  constexpr std::string_view kEscaped = "\"\\/bfnrt";
  constexpr std::size_t kUnitLength = 6;  // \u0041
  hasEscapes = true;
  if (at + 1 >= text.size()) return false;
  if (text[at + 1] != 'u') {
    if (kEscaped.find(text[at + 1]) == std::string_view::npos) return false;
    at += 2;
    return true;
  }
  const int unit = hexadecimals(at + 2);
  if (unit < 0 || isLowSurrogate(unit)) return false;
  at += kUnitLength;
  if (!isHighSurrogate(unit)) return true;
  if (text.substr(at, 2) != "\\u" || !isLowSurrogate(hexadecimals(at + 2))) return false;
  at += kUnitLength;
  return true;
}

bool JsonTokens::skipCharacter() {
  const std::size_t length = characterLength(text.substr(at));
  at += length;
  return length > 0;
}

std::string unescapedJson(std::string_view raw) {
  std::string text;
  text.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '\\') {
      text += raw[i];
      continue;
    }
    ++i;
    if (raw[i] != 'u') {
      text += meaningOf(raw[i]);
      continue;
    }
    unsigned point = codeUnit(raw.substr(i + 1));
    i += 4;
    if (isHighSurrogate(static_cast<int>(point))) {
      point = 0x10000U + ((point - 0xD800U) << 10U) + (codeUnit(raw.substr(i + 3)) - 0xDC00U);
      i += 6;
    }
    appendUtf8(text, point);
  }
  return text;
}

bool isBase64Text(std::string_view text) { return endOf<Base64>(text, 0) == text.size(); }

}  // namespace quillard
