#include <cmath>

#include "foundation/Text.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/kwin/KWinScripting.h"
#include "platform/linux/kwin/KWinScripts.h"
#include "platform/linux/kwin/KWinState.h"

using namespace quillard;
using fuzz::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::textOf(data, size);
  (void)kwin::ownerOfScript(text);
  kwin::WindowNumbers numbers;
  const auto state = kwin::parseState(text, numbers);
  if (!state) return 0;
  require(state->windows.size() <= kwin::kMostWindows, "There is an end to windows.");
  bool isActiveListed = !state->active;
  for (const auto& window : state->windows) {
    const auto identifier = numbers.identifierOf(window.id);
    require(identifier && kwin::isWindowIdentifier(*identifier), "What goes into a script has KWin's form.");
    require(!window.processIdentifier || *window.processIdentifier >= 1, "A process has a number.");
    require(text::isValidUtf8(window.name) && text::isValidUtf8(window.className), "A name is text.");
    require(std::isfinite(window.clientBounds.x) && window.clientBounds.width >= 0, "A window is somewhere.");
    require(window.opacity >= 0 && window.opacity <= 1, "Nothing is more than opaque.");
    isActiveListed = isActiveListed || window.id == state->active;
  }
  require(isActiveListed, "The active window is one of them.");
  return 0;
}
