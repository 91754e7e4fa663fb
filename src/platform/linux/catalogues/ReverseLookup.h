#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quillard::catalogues {

// A shown text that is looked for among translations, in its comparable form; a line `withoutNumbers`, and whatever
// number stands in a message.
struct WantedText {
  std::string text;
  bool isLine = false;  // Also as a message with something put in; else only as a whole.

  bool operator==(const WantedText&) const = default;
};

// The source texts that one text has in one catalogue.
struct FoundSources {
  std::map<std::string, int> counts;  // How many messages each source text is of.
  bool isCutOff = false;              // It has more source texts than these.

  bool operator==(const FoundSources&) const = default;
};

// Looks for texts among the messages of one catalogue, which pass by once. One thread.
class ReverseLookup {
 public:
  // As many sources are kept of one text.
  static constexpr std::size_t kMostSources = 16;

  // `wanted` outlives this. Empty texts are never found.
  explicit ReverseLookup(const std::vector<WantedText>& wanted);

  // What it cost, in bytes that were compared (`WorkBudget`).
  [[nodiscard]] std::size_t pass(std::string_view source, std::string_view translation);

  // One for each wanted text, in the same order.
  [[nodiscard]] const std::vector<FoundSources>& found() const { return sources; }

 private:
  void add(std::size_t index, std::string_view source);
  std::size_t passPattern(std::string_view source);

  const std::vector<WantedText>& wanted;
  using Places = std::unordered_map<std::string_view, std::vector<std::size_t>>;
  void addAll(const Places& places, std::string_view shown, std::string_view source);

  Places labelPlaces;
  Places linePlaces;
  std::vector<std::size_t> lines;  // Which of the wanted texts are lines.
  std::vector<FoundSources> sources;
  std::string compared;  // Of the message that passes; kept for its memory.
};

}  // namespace quillard::catalogues
