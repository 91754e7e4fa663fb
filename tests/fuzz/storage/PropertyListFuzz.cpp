#include <span>
#include <variant>

#include "foundation/Text.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/storage/PropertyList.h"

using namespace quillard;
using fuzz::require;

// Whatever the bytes are, they are read or refused, twice alike, and what is read is text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto outcome = xdg::readPropertyList(std::span(data, size));
  const auto again = xdg::readPropertyList(std::span(data, size));
  require(outcome.index() == again.index(), "The same bytes are judged alike.");
  if (const auto* error = std::get_if<platform::ResourceError>(&outcome)) {
    require(!error->description.empty(), "A refusal says why.");
    return 0;
  }
  const auto& texts = std::get<platform::PropertyListTexts>(outcome);
  require(texts == std::get<platform::PropertyListTexts>(again), "The same bytes read alike.");
  for (const auto& [key, value] : texts) {
    require(text::isValidUtf8(key) && text::isValidUtf8(value), "What is read is UTF-8.");
  }
  return 0;
}
