#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillard::platform {

// An English text that a program translates to the one that it shows.
struct SourceText {
  std::string text;  // As the program's source has it, without marks of mnemonics; placeholders stand as they are.
  int count = 0;     // How many of the program's messages say so; at least 1.
  // How many of these are from catalogues that no program of this user can write. The others may be made up by whoever
  // shows the text.
  int protectedCount = 0;

  bool operator==(const SourceText&) const = default;
};

// How much a request may do. `fromMemory`: what was found before for these texts, without reading catalogues or waiting
// for a program, for a thread that must stay responsive. What was not looked up yet is unknown
// (`SourceTexts::isComplete`).
enum class TranslationLookup { full, fromMemory };

// What is asked of one program. Texts are as shown.
struct TranslationRequest {
  std::int32_t processIdentifier = 0;
  std::vector<std::string> labels;  // Of buttons: looked up as a whole.
  std::vector<std::string> lines;   // Other texts: also line by line, and as messages with something put in.
  TranslationLookup lookup = TranslationLookup::full;

  bool operator==(const TranslationRequest&) const = default;
};

// One list for each text of the request, in the same order. An empty list: no message of the program is known to be
// shown like this, as with a text that was English in the first place.
struct SourceTexts {
  std::vector<std::vector<SourceText>> labels;
  std::vector<std::vector<SourceText>> lines;
  // False: something that should tell could not be looked at this time, or would have cost too much, so that a text
  // without a list, or with one, may mean more. It is unknown, not without a meaning; more may be known later.
  bool isComplete = true;
  // More is there than is looked at: English texts behind one of them beyond those that are kept, a text that is too
  // long to be looked up or one too many, or catalogues beyond what is read. What is left out may be what matters.
  bool isCutOff = false;
  // Of each label, in the same order, whether that is so for what it may mean itself.
  std::vector<bool> areLabelsCutOff{};

  bool operator==(const SourceTexts&) const = default;
};

// Which English texts of a program stand behind what it shows in another language: looks its translations up in
// reverse. Nothing is translated by machine, and nothing leaves this computer.
//
// Any thread, several at a time. May read files of some megabytes, and ask a program once: milliseconds, and longer for
// a program that does not answer. What a request may cost is bounded, and none waits for the work of another. Not for
// every scan, and only from memory on a thread that must stay responsive.
class Translations {
 public:
  Translations() = default;
  Translations(const Translations&) = delete;
  Translations& operator=(const Translations&) = delete;
  virtual ~Translations() = default;

  // Absent: this system has no way to tell. What one process once had as an answer to a text, it has for as long as it
  // lives; more may come.
  [[nodiscard]] virtual std::optional<SourceTexts> sourceTexts(const TranslationRequest& request) = 0;
};

}  // namespace quillard::platform
