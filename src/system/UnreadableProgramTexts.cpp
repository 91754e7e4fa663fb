#include "system/UnreadableProgramTexts.h"

#include <map>
#include <set>

#include "foundation/PrintableText.h"

namespace quillard::UnreadableProgramTexts {

std::string count(const std::vector<platform::UnreadableProgram>& programs, const UserTexts& say) {
  std::set<std::string> names;
  for (const auto& program : programs) names.insert(program.name);
  if (names.size() == 1) return say("1 program cannot be read");
  return say("%1 programs cannot be read", {std::to_string(names.size())});
}

std::string remedies(const std::vector<platform::UnreadableProgram>& programs, const UserTexts& say) {
  std::map<std::string, std::set<std::string>> namesByRemedy;
  for (const auto& program : programs) {
    const bool isUnknown = program.name == platform::kUnknownProgramName;
    namesByRemedy[program.remedy].insert(isUnknown ? say("an unknown program") : printableText(program.name));
  }
  std::string text;
  for (const auto& [remedy, names] : namesByRemedy) {
    if (remedy.empty()) continue;
    text += text.empty() ? "" : " ";
    for (const auto& name : names) text += (&name == &*names.begin() ? "" : ", ") + name;
    text += ": " + say.ofOther(remedy);
  }
  if (!namesByRemedy.contains("")) return text;
  if (text.empty()) return say("Start them anew: some look only then whether accessibility is on.");
  return text + " " + say("Start the others anew: some look only then whether accessibility is on.");
}

}  // namespace quillard::UnreadableProgramTexts
