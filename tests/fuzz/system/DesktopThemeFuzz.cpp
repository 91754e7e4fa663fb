#include <string>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/shell/DesktopTheme.h"

using namespace quillard;

// Whatever settings say of colours is taken for a choice or for none, the same each time.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::textOf(data, size));
  const desktop::ThemeFacts facts{
      .desktopColors = text, .colorScheme = text, .gtkTheme = text, .toolkitSettings = text};
  const auto scheme = desktop::colorSchemeOf(facts);
  fuzz::require(scheme == desktop::colorSchemeOf(facts), "A choice is the same each time.");
  return 0;
}
