#include "foundation/ShownText.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/catalogues/ComparableText.h"
#include "platform/linux/catalogues/MessagePattern.h"

using namespace quillard;
using fuzz::require;

// The input: a translation, and behind a zero byte the text that it is compared with.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = fuzz::textOf(data, size);
  const auto middle = bytes.find('\0');
  const auto translation = catalogues::comparable(bytes.substr(0, middle));
  const auto shown = catalogues::comparable(middle == std::string_view::npos ? "" : bytes.substr(middle + 1));
  require(translation.size() <= size, "Comparing adds nothing to a text.");
  require(text::withoutDirectionMarks(text::withoutDirectionMarks(shown)).size() <= shown.size(), "Marks only go.");
  if (const auto pattern = catalogues::MessagePattern::of(translation)) {
    require(!pattern->matches(""), "A pattern has letters of its own.");
    (void)pattern->matches(shown);
  }
  return 0;
}
