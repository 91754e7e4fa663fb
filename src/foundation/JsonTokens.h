#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillard {

// What a JSON text may be at most. A text that goes over one of them is refused.
struct JsonLimits {
  std::size_t bytes = 1024 * 1024;
  std::size_t depth = 32;                      // Objects and lists inside one another.
  std::size_t members = 1024;                  // Of one object; looking them up takes longer the more there are.
  std::size_t values = std::size_t{1} << 32U;  // Of the whole text, objects and lists included.
};

enum class JsonToken {
  beginObject,
  endObject,
  beginList,
  endList,
  name,  // Of a member; its value comes next.
  string,
  number,
  literal,  // true, false or null.
  end,      // The text was one value, and nothing follows it.
  failed,
};

// Goes through a JSON text once, from token to token, and builds nothing of it: the strict grammar of RFC 8259, in
// UTF-8, without a byte order mark, without members that stand twice in one object, halves of surrogate pairs and
// numbers beyond what a double can hold. A byte of zero is no end of the text but a byte that is not allowed.
//
// Only after `end` is the text known to be JSON: tokens before it are those of its beginning. The time grows with the
// length of the text, and with the square of `limits.members` at worst.
class JsonTokens {
 public:
  // `text` outlives it, and the views that it gives.
  explicit JsonTokens(std::string_view text, JsonLimits limits = {});

  // After `end` and `failed` the same one again.
  JsonToken next();

  // Of a name or string what stands between its quotes, escapes and all; of a number or literal the whole.
  [[nodiscard]] std::string_view raw() const { return written; }
  // Whether `raw` of a name or string contains escapes: see `unescapedJson`.
  [[nodiscard]] bool isEscaped() const { return hasEscapes; }
  // Whether `raw` of a string consists of A-Z a-z 0-9 + / = alone. False also where one of them is escaped.
  [[nodiscard]] bool isBase64() const { return consistsOfBase64; }

  enum class Failure { none, tooLong, tooDeep, tooManyMembers, tooManyValues, doubledMember, malformed };
  [[nodiscard]] Failure failure() const { return problem; }

 private:
  enum class Expected { value, valueOrEnd, nameOrEnd, name, commaOrEnd, nothing };
  struct Open {
    bool isObject = false;
    std::size_t firstName = 0;  // Where its names begin in `names`.
  };
  struct Name {
    std::uint64_t hash = 0;
    std::string_view raw;
    bool isEscaped = false;
  };

  JsonToken fail(Failure why);
  void skipBlanks();
  [[nodiscard]] bool isAtEnd() const { return at >= text.size(); }
  [[nodiscard]] char current() const { return text[at]; }
  JsonToken readValue();
  JsonToken readName();
  JsonToken begin(bool isObject);
  JsonToken close();
  JsonToken afterComma();
  JsonToken readLiteral(std::string_view literal);
  JsonToken readNumber();
  bool skipDigits();
  bool readString();
  bool skipEscape();
  bool skipCharacter();
  [[nodiscard]] int hexadecimals(std::size_t from) const;
  [[nodiscard]] bool standsAlready(const Name& name) const;
  void didReadValue();

  const std::string_view text;
  const JsonLimits limits;
  std::size_t at = 0;
  std::size_t values = 0;
  Expected expected = Expected::value;
  std::vector<Open> open;
  std::vector<Name> names;  // Of all objects that are open, the outermost first.
  std::string_view written;
  bool hasEscapes = false;
  bool consistsOfBase64 = false;
  Failure problem = Failure::none;
};

// What `raw` of a name or string means, in UTF-8.
[[nodiscard]] std::string unescapedJson(std::string_view raw);

// Whether all of it is A-Z a-z 0-9 + / =: the characters of base64, not their order.
[[nodiscard]] bool isBase64Text(std::string_view text);

}  // namespace quillard
