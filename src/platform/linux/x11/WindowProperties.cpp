#include "platform/linux/x11/WindowProperties.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "foundation/Text.h"

namespace quillard::x11 {
namespace {

constexpr std::uint32_t kWithdrawnState = 0;
constexpr std::uint32_t kNormalState = 1;
constexpr std::uint32_t kIconicState = 3;
constexpr std::uint32_t kUnknownState = 0xFFFFFFFF;  // None that exists.
constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;
constexpr std::size_t kMostAtoms = 64;
// No frame or shadow is wider than a window may be.
constexpr std::uint32_t kWidestExtent = 32767;

std::string fromLatin1(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | (code >> 6));
      text += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return text;
}

std::optional<std::int32_t> processOf(const RawWindow& raw, const WindowDependencies& dependencies) {
  const auto process = numberOf(raw.processIdentifier, dependencies.atoms[Atom::cardinal]);
  if (!process || *process == 0 || *process > std::uint32_t{std::numeric_limits<std::int32_t>::max()}) {
    return std::nullopt;
  }
  // A number of another machine's processes says nothing here.
  const auto machine = textOf(raw.clientMachine, dependencies.atoms);
  if (raw.clientMachine.type != 0 && machine != dependencies.hostName) return std::nullopt;
  return static_cast<std::int32_t>(*process);
}

std::string nameOf(const RawWindow& raw, const Atoms& atoms) {
  if (const auto name = textOf(raw.name, atoms)) return *name;
  return textOf(raw.legacyName, atoms).value_or("");
}

// The second of two texts that each end with a zero byte.
std::string classOf(const Property& property, const Atoms& atoms) {
  const auto end = property.bytes.find('\0');
  if (end == std::string::npos) return "";
  Property second = property;
  second.bytes.erase(0, end + 1);
  return textOf(second, atoms).value_or("");
}

std::optional<Extents> extentsOf(const Property& property, const Atoms& atoms) {
  const auto values = numbersOf(property, atoms[Atom::cardinal], 4);
  const auto isSane = [](std::uint32_t value) { return value <= kWidestExtent; };
  if (values.size() != 4 || !std::all_of(values.begin(), values.end(), isSane)) return std::nullopt;
  return Extents{.left = static_cast<double>(values[0]),
                 .right = static_cast<double>(values[1]),
                 .top = static_cast<double>(values[2]),
                 .bottom = static_cast<double>(values[3])};
}

std::optional<WindowType> knownType(std::uint32_t type, const Atoms& atoms) {
  static constexpr std::array<std::pair<Atom, WindowType>, 10> kTypes{{
      {Atom::typeNormal, WindowType::normal},
      {Atom::typeDialog, WindowType::dialog},
      {Atom::typeUtility, WindowType::utility},
      {Atom::typeDock, WindowType::dock},
      {Atom::typeDesktop, WindowType::desktop},
      {Atom::typeNotification, WindowType::notification},
      {Atom::typeMenu, WindowType::menu},
      {Atom::typeDropdownMenu, WindowType::menu},
      {Atom::typePopupMenu, WindowType::menu},
      {Atom::typeSplash, WindowType::splash},
  }};
  for (const auto& [name, meaning] : kTypes) {
    if (type == atoms[name]) return meaning;
  }
  return std::nullopt;
}

WindowType typeOf(const RawWindow& raw, const Atoms& atoms, bool isTransient) {
  const auto types = numbersOf(raw.type, atoms[Atom::atom], kMostAtoms);
  for (const auto type : types) {
    if (const auto known = knownType(type, atoms)) return *known;
  }
  if (!types.empty()) return WindowType::other;
  return isTransient ? WindowType::dialog : WindowType::normal;
}

std::optional<WindowID> transientFor(const RawWindow& raw, const WindowDependencies& dependencies) {
  const auto other = numberOf(raw.transientFor, dependencies.atoms[Atom::window]);
  if (!other || *other == 0 || *other == dependencies.root || *other == raw.id) return std::nullopt;
  return other;
}

void readState(const RawWindow& raw, const WindowDependencies& dependencies, Window& window) {
  const Atoms& atoms = dependencies.atoms;
  const auto states = numbersOf(raw.state, atoms[Atom::atom], kMostAtoms);
  const auto has = [&](Atom name) { return std::find(states.begin(), states.end(), atoms[name]) != states.end(); };
  window.isModal = has(Atom::netWMStateModal);
  window.skipsTaskbar = has(Atom::netWMStateSkipTaskbar);
  window.isAbove = has(Atom::netWMStateAbove);
  window.isBelow = has(Atom::netWMStateBelow);

  // A window of another desktop is iconic, too; only HIDDEN tells it from a minimised one. Where a window manager does
  // not know HIDDEN, iconic on the present desktop is minimised.
  const std::uint32_t legacy = numberOf(raw.legacyState, atoms[Atom::wmState]).value_or(kUnknownState);
  const bool isElsewhere =
      window.desktop && dependencies.currentDesktop && window.desktop != dependencies.currentDesktop;
  window.isHidden = has(Atom::netWMStateHidden) || (legacy == kIconicState && !isElsewhere);
  const bool isManaged = legacy == kNormalState || legacy == kIconicState;
  window.isMapped = !window.isHidden && (isManaged || (legacy != kWithdrawnState && raw.isViewable));
}

}  // namespace

std::vector<std::uint32_t> numbersOf(const Property& property, std::uint32_t type, std::size_t most) {
  if (property.type == 0 || property.type != type || property.format != 32) return {};
  std::vector<std::uint32_t> numbers(std::min(property.bytes.size() / sizeof(std::uint32_t), most));
  if (!numbers.empty()) std::memcpy(numbers.data(), property.bytes.data(), numbers.size() * sizeof(std::uint32_t));
  return numbers;
}

std::optional<std::uint32_t> numberOf(const Property& property, std::uint32_t type) {
  const auto numbers = numbersOf(property, type, 1);
  return numbers.empty() ? std::nullopt : std::optional{numbers.front()};
}

std::optional<std::string> textOf(const Property& property, const Atoms& atoms) {
  if (property.type == 0 || property.format != 8 || !property.isComplete || property.bytes.size() > kLongestText) {
    return std::nullopt;
  }
  const std::string_view bytes = std::string_view{property.bytes}.substr(0, property.bytes.find('\0'));
  if (property.type == atoms[Atom::string]) return fromLatin1(bytes);
  if (property.type == atoms[Atom::utf8String] && text::isValidUtf8(bytes)) return std::string{bytes};
  return std::nullopt;
}

const std::vector<PropertySource>& windowPropertySources() {
  static constexpr std::uint32_t kText = kLongestText / 4;
  static const std::vector<PropertySource> sources{
      {&RawWindow::processIdentifier, Atom::netWMPid, 1}, {&RawWindow::clientMachine, Atom::wmClientMachine, 64},
      {&RawWindow::name, Atom::netWMName, kText},         {&RawWindow::legacyName, Atom::wmName, kText},
      {&RawWindow::classHint, Atom::wmClass, 256},        {&RawWindow::type, Atom::netWMWindowType, kMostAtoms},
      {&RawWindow::state, Atom::netWMState, kMostAtoms},  {&RawWindow::legacyState, Atom::wmState, 1},
      {&RawWindow::desktop, Atom::netWMDesktop, 1},       {&RawWindow::transientFor, Atom::wmTransientFor, 1},
      {&RawWindow::frame, Atom::netFrameExtents, 4},      {&RawWindow::gtkFrame, Atom::gtkFrameExtents, 4},
      {&RawWindow::opacity, Atom::netWMWindowOpacity, 1},
  };
  return sources;
}

Window readWindow(const RawWindow& raw, const WindowDependencies& dependencies) {
  const Atoms& atoms = dependencies.atoms;
  Window window;
  window.id = raw.id;
  window.processIdentifier = processOf(raw, dependencies);
  window.name = nameOf(raw, atoms);
  window.className = classOf(raw.classHint, atoms);
  window.transientFor = transientFor(raw, dependencies);
  window.type = typeOf(raw, atoms, raw.transientFor.type == atoms[Atom::window]);
  const auto desktop = numberOf(raw.desktop, atoms[Atom::cardinal]);
  if (desktop != kAllDesktops) window.desktop = desktop;
  readState(raw, dependencies, window);
  window.clientBounds = raw.clientBounds;
  window.frame = extentsOf(raw.frame, atoms).value_or(Extents{});
  window.gtkFrame = extentsOf(raw.gtkFrame, atoms);
  if (const auto opacity = numberOf(raw.opacity, atoms[Atom::cardinal])) window.opacity = *opacity / 4294967295.0;
  return window;
}

}  // namespace quillard::x11
