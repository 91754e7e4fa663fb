#include <string>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/system/DesktopEntry.h"

using namespace quillard;
using fuzz::require;

// Whatever an entry says is read as it stands, and the program that one names can be written and read again.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
