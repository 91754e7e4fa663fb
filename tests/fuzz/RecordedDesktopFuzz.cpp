#include <variant>

#include "fuzz/FuzzTarget.h"
#include "recording/RecordedDesktopJson.h"

using namespace quillard;
using fuzz::require;

// What reads is written, and reads again as the same desktop.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto outcome = recording::readRecordedDesktop(fuzz::textOf(data, size));
  const auto* desktop = std::get_if<recording::RecordedDesktop>(&outcome);
  if (!desktop) {
    require(!std::get<JsonError>(outcome).message.empty(), "A refusal says why.");
    return 0;
  }
  const auto written = recordedDesktopText(*desktop);
  const auto again = recording::readRecordedDesktop(written);
  require(std::holds_alternative<recording::RecordedDesktop>(again), "What was written reads.");
  require(std::get<recording::RecordedDesktop>(again) == *desktop, "It reads as the same desktop.");
  require(recordedDesktopText(std::get<recording::RecordedDesktop>(again)) == written, "It is written the same again.");
  return 0;
}
