#include <algorithm>
#include <cmath>
#include <string>

#include "foundation/Text.h"
#include "fuzz/FuzzTarget.h"
#include "platform/linux/x11/WindowProperties.h"

using namespace quillard;
using fuzz::require;

namespace {

// Every name is one more than its place, so that 0 stays "not set".
x11::Atoms atoms() {
  x11::Atoms atoms;
  for (std::size_t i = 0; i < x11::kAtomCount; ++i)
    atoms[static_cast<x11::Atom>(i)] = static_cast<std::uint32_t>(i) + 1;
  return atoms;
}

// Takes the input apart: for each property a type, a format, a length, and as many bytes.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : left(fuzz::textOf(data, size)) {}

  x11::Property property() {
    x11::Property property{.type = byte() % (static_cast<std::uint32_t>(x11::kAtomCount) + 2),
                           .format = static_cast<std::uint8_t>(8U << (byte() % 4U)),
                           .bytes = {},
                           .isComplete = byte() % 8 != 0};
    const auto length = std::min<std::size_t>(byte(), left.size());
    property.bytes = left.substr(0, length);
    left.remove_prefix(length);
    return property;
  }

 private:
  std::uint8_t byte() {
    if (left.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(left.front());
    left.remove_prefix(1);
    return value;
  }

  std::string_view left;
};

bool isPlace(const desktop::Extents& extents) {
  return std::isfinite(extents.left) && std::isfinite(extents.right) && std::isfinite(extents.top) &&
         std::isfinite(extents.bottom);
}

}  // namespace

// Whatever a program writes at its windows, what is read of it is sound.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const x11::Atoms known = atoms();
  Input input(data, size);
  x11::RawWindow raw{.id = 1};
  for (const auto& source : x11::windowPropertySources()) raw.*source.member = input.property();
  const auto window = x11::readWindow(raw, {.atoms = known, .hostName = "host", .root = 7, .currentDesktop = 0});
  require(text::isValidUtf8(window.name) && window.name.size() <= 2 * x11::kLongestText,
          "A name is text, and not endless.");
  require(text::isValidUtf8(window.className), "So is a class.");
  require(!window.processIdentifier || *window.processIdentifier >= 1, "A process has a number.");
  require(window.opacity >= 0 && window.opacity <= 1, "Nothing is more than opaque.");
  require(window.transientFor != 7U, "The root is no window's parent.");
  require(isPlace(window.frame) && (!window.gtkFrame || isPlace(*window.gtkFrame)), "A frame has a width.");
  return 0;
}
