// Prints what the detector makes of all recorded windows and samples, kind by kind: what a change of a rule costs.

#include <cstdio>
#include <map>

#include "golden/VerdictCount.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

int main() {
  using namespace quillard;
  const platform::PromptSupplement none;
  const auto& linuxRules = linuxPromptSupplement();
  const auto recorded = golden::countRecorded(linuxRules);
  const auto samples = golden::countSamples(linuxRules);
  std::printf("%s\n", golden::tableText("Recorded windows, on Linux", recorded).c_str());
  std::printf("%s\n", golden::tableText("Samples, on Linux", samples).c_str());
  std::printf("%s\n", golden::tableText("Recorded windows, by the words alone", golden::countRecorded(none)).c_str());
  std::map<std::string, int> signs;
  for (const auto* const windows : {&recorded, &samples}) {
    for (const auto& each : *windows) ++signs[each.sign()];
  }
  std::printf("Which rule decided:\n");
  for (const auto& [sign, count] : signs) std::printf("  %-24s %4d\n", sign.c_str(), count);
}
