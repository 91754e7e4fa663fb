#include <cmath>

#include "foundation/Text.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/sway/SwayMessages.h"
#include "platform/linux/sway/SwayTree.h"

using namespace quillard;
using fuzz::require;

// The input once as a stream of messages, and once as what such a message holds.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::textOf(data, size);
  sway::MessageStream stream;
  for (std::size_t at = 0; at < text.size(); at += 7) stream.add(text.substr(at, 7));
  while (const auto message = stream.next()) require(message->payload.size() <= text.size(), "Nothing is made up.");

  (void)sway::changeOf(text);
  (void)sway::isSuccess(text);
  const auto tree = sway::parseTree(text);
  if (!tree) return 0;
  require(tree->coverage == desktop::WindowCoverage::all, "A tree holds every window.");
  require(tree->windows.size() <= sway::kMostWindows, "There is an end to windows.");
  bool isActiveListed = !tree->active;
  for (const auto& window : tree->windows) {
    require(sway::containerOf(window.id).has_value(), "It is a window of sway.");
    require(window.processIdentifier && *window.processIdentifier >= 1, "A process has a number.");
    require(text::isValidUtf8(window.name) && text::isValidUtf8(window.className), "A name is text.");
    require(std::isfinite(window.clientBounds.x) && window.clientBounds.width >= 0, "A window is somewhere.");
    isActiveListed = isActiveListed || window.id == tree->active;
  }
  require(isActiveListed, "The active window is one of them.");
  return 0;
}
