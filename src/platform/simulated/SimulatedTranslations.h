#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/desktop/Translations.h"

namespace quillard::platform::simulated {

// Fixed answers: what a test has taught, for every program or for one. Knows nothing at first, as a system that cannot
// tell. One thread.
class SimulatedTranslations final : public Translations {
 public:
  // From now on this system can tell. A text may have several source texts.
  void teach(const std::string& shown, const SourceText& source);
  // Of one program only.
  void teach(std::int32_t processIdentifier, const std::string& shown, const SourceText& source);
  // The same, of one message of a catalogue that no program can write.
  void teach(const std::string& shown, const std::string& source) { teach(shown, SourceText{source, 1, 1}); }
  void forget() { taught.clear(); }
  // Whether everything can be looked at.
  void setComplete(bool isComplete) { isWhole = isComplete; }
  // Whether everything has more English texts than are reported.
  void setCutOff(bool hasMore) { isCutOff = hasMore; }
  // The same of one text.
  void cutOff(const std::string& shown) { cutOffTexts.insert(shown); }

  [[nodiscard]] const std::vector<TranslationRequest>& requests() const { return received; }

  [[nodiscard]] std::optional<SourceTexts> sourceTexts(const TranslationRequest& request) override;

 private:
  // Whether all its texts were looked up before; takes them down unless it is from memory.
  [[nodiscard]] bool isLookedUp(const TranslationRequest& request);
  [[nodiscard]] std::vector<SourceText> answer(std::int32_t processIdentifier, const std::string& shown) const;

  using Taught = std::multimap<std::string, SourceText>;
  std::map<std::optional<std::int32_t>, Taught> taught;  // Absent: of every program.
  bool isWhole = true;
  bool isCutOff = false;
  std::set<std::string> cutOffTexts;
  std::vector<TranslationRequest> received;
  std::set<std::pair<std::int32_t, std::string>> lookedUp;  // Texts of processes, but from memory.
};

}  // namespace quillard::platform::simulated
