#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/TextCatalogue.h"

namespace quillard {

// What the machine and the phone are called. A Mac's texts are those in the sources, to the letter.
enum class Machine { mac, computer };

enum class Language { english, german };

// The language of a locale such as "de_AT.UTF-8" or of a tag such as "de-AT"; English for all that there are no texts
// in.
[[nodiscard]] Language languageOf(std::string_view locale);

// A text of the catalogue, named by its words on a Mac, as a literal. One that is not in the catalogue does not
// compile.
class TextKey {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a text stands where it is used.
  consteval TextKey(const char* mac) : row(textRowOf(mac)) {}

  std::size_t row;
};

// The texts for people, in the words of this machine and the language of its user. A value; any thread.
class UserTexts {
 public:
  constexpr UserTexts() = default;
  constexpr UserTexts(Machine machine, Language language) : machine(machine), language(language) {}

  [[nodiscard]] std::string operator()(TextKey key) const { return std::string(text(key.row)); }
  // With `values` in the place of %1, %2 and so on. What stands in a value is never replaced again.
  [[nodiscard]] std::string operator()(TextKey key, std::initializer_list<std::string_view> values) const;
  // Of a text that another part of the program made from the catalogue, for terminals as well, in a Mac's words and
  // with its values in place. A value that is itself a sentence of the catalogue is said in these words, too. A text
  // that the catalogue does not have stays as it is.
  [[nodiscard]] std::string ofOther(std::string_view mac) const;

  [[nodiscard]] bool isOfMac() const { return machine == Machine::mac; }

  bool operator==(const UserTexts&) const = default;

 private:
  [[nodiscard]] std::string_view text(std::size_t row) const;
  [[nodiscard]] std::optional<std::string> ofSentence(std::string_view mac) const;

  Machine machine = Machine::mac;
  Language language = Language::english;
};

}  // namespace quillard
