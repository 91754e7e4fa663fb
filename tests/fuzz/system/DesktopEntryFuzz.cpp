#include <string>
#include <string_view>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/system/DesktopEntry.h"
#include "platform/linux/system/ReadableEntry.h"

using namespace quillard;
using fuzz::require;

constexpr std::string_view kID = "browser.desktop";

// A copy with the switch is known for what it is. Whatever an entry says is read as it stands, and the program that one
// names can be written and read again.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const auto copy = desktop::ReadableEntry::copyOf(fuzz::textOf(data, size), kID)) {
    require(desktop::ReadableEntry::isUnchangedCopy(*copy, kID), "A copy is known to be one.");
    require(!desktop::ReadableEntry::copyOf(*copy, kID), "A copy is not copied.");
  }
  for (const auto& [key, value] : desktop::DesktopEntry::mainGroup(fuzz::textOf(data, size))) {
    require(key.find_first_of("=\n") == std::string::npos, "A key is a part of one line.");
    require(value.find('\n') == std::string::npos, "A value is a part of one line.");
    const auto program = desktop::DesktopEntry::programOf(value);
    if (!program) continue;
    require(!program->empty(), "A program has a name.");
    const auto again = desktop::DesktopEntry::programOf(desktop::DesktopEntry::execValue(*program));
    require(again == program, "What was written reads.");
  }
  return 0;
}
