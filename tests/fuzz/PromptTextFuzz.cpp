#include <string>

#include "approvals/LiveText.h"
#include "detection/LabelMeaning.h"
#include "foundation/Text.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

using namespace quillard;
using fuzz::require;

// Texts and labels of other programs, whatever they are.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::textOf(data, size));
  require(LiveText::isSameText(text, text, Seconds{0}), "A text is the same as itself.");
  require(LiveText::isSameLabel(text, text), "So is a label.");
  const auto half = text.substr(0, text.size() / 2);
  for (const auto progress : {LiveText::Progress::absent, LiveText::Progress::shown}) {
    if (LiveText::isSameText(half, text, Seconds{1e9}, progress))
      require(LiveText::steady(half, progress) == LiveText::steady(text, progress), "Same texts identify alike.");
  }
  const LabelMeaning meaning{linuxPromptSupplement()};
  const auto kind = meaning.kindOf(text);
  require(meaning.isSafeDismissal(text) == (kind == LabelKind::safeDismissal), "One label has one meaning.");
  (void)saysOneOf(text::normalized(text), linuxPromptSupplement().hazards);
  return 0;
}
