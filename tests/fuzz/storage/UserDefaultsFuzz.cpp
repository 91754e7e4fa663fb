#include <variant>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/storage/UserDefaultsText.h"

using namespace quillard;
using fuzz::require;

// What reads is written, and reads again as the same settings; a value that is known keeps its kind.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto outcome = xdg::readUserDefaults(fuzz::textOf(data, size));
  if (const auto* error = std::get_if<JsonError>(&outcome)) {
    require(!error->message.empty(), "A refusal says why.");
    return 0;
  }
  const auto& settings = std::get<xdg::StoredSettings>(outcome);
  const auto again = xdg::readUserDefaults(xdg::userDefaultsText(settings));
  require(std::holds_alternative<xdg::StoredSettings>(again), "What was written reads.");
  require(std::get<xdg::StoredSettings>(again) == settings, "Nothing changes on the way.");
  for (const auto& [key, stored] : settings) {
    const auto value = xdg::decodedSetting(stored);
    const auto kept = xdg::decodedSetting(xdg::encodedSetting(value));
    require(kept.index() == value.index(), "A value keeps its kind.");
  }
  return 0;
}
