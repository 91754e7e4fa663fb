#include "platform/linux/accessibility/UnreadableRemedy.h"

#include <array>

#include "foundation/Text.h"
#include "foundation/TextCatalogue.h"

namespace quillard::atspi {
namespace {

constexpr const char* kForChromium = catalogued("Start it with --force-renderer-accessibility.");
constexpr const char* kForQt =
    catalogued("End it and start it again: only then does it look whether accessibility is on.");
constexpr const char* kOnBus = catalogued("It is on the accessibility bus: look in its settings for screen readers.");
constexpr const char* kForGtk2 =
    catalogued("Install the package libatk-adaptor, and start it again with GTK_MODULES=gail:atk-bridge.");

// Files that come with Chromium and with every program that is built on it.
constexpr std::array<std::string_view, 3> kOfChromium{"/v8_context_snapshot", "/chrome_100_percent.pak",
                                                      "/chrome_crashpad_handler"};
constexpr std::array<std::string_view, 2> kOfQt{"/libQt5Gui.so", "/libQt6Gui.so"};
constexpr std::array<std::string_view, 1> kOfGtk2{"/libgtk-x11-2.0.so"};

}  // namespace

// A program on Chromium may load Qt for the look of its windows, and is on the bus all the same.
std::string remedyFor(std::string_view maps, bool isOnBus) {
  if (isOnBus) return text::containsAny(maps, kOfChromium) ? kForChromium : kOnBus;
  if (text::containsAny(maps, kOfQt)) return kForQt;
  if (text::containsAny(maps, kOfGtk2)) return kForGtk2;
  return text::containsAny(maps, kOfChromium) ? kForChromium : "";
}

bool isSwitchAtStart(std::string_view remedy) { return remedy == kForChromium; }

}  // namespace quillard::atspi
