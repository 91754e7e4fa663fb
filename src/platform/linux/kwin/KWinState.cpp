#include "platform/linux/kwin/KWinState.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/StrictJson.h"
#include "platform/linux/kwin/KWinScripts.h"
#include "platform/linux/windows/ListedWindowJson.h"

namespace quillard::kwin {
namespace {

using desktop::Window;
using desktop::WindowsSnapshot;
using desktop::WindowType;

constexpr double kFarthest = 1'000'000;
constexpr JsonLimits kLimits{.bytes = std::size_t{8} * 1024 * 1024, .depth = 8, .members = 64, .values = 512 * 1024};

std::optional<double> number(const Json& object, const char* name, double lowest, double highest) {
  const Json* const value = desktop::memberOf(object, name);
  if (!value || !value->is_number()) return std::nullopt;
  const double read = value->get<double>();
  return read >= lowest && read <= highest ? std::optional{read} : std::nullopt;
}

template <std::size_t count>
std::optional<std::array<double, count>> numbersOf(const Json& object, const char* name) {
  const Json* const value = desktop::memberOf(object, name);
  if (!value || !value->is_array() || value->size() != count) return std::nullopt;
  std::array<double, count> read{};
  for (std::size_t i = 0; i < count; ++i) {
    if (!(*value)[i].is_number()) return std::nullopt;
    read[i] = (*value)[i].template get<double>();
    if (!(std::abs(read[i]) <= kFarthest)) return std::nullopt;
  }
  return read;
}

std::optional<Rect> rect(const Json& object, const char* name) {
  const auto read = numbersOf<4>(object, name);
  if (!read || (*read)[2] < 0 || (*read)[3] < 0) return std::nullopt;
  return Rect{(*read)[0], (*read)[1], (*read)[2], (*read)[3]};
}

// The buffer reaches beyond what is seen by the window's own shadow, and falls short of it by KWin's title bar.
void readPlace(const Json& object, Window& window) {
  const auto frame = rect(object, "frame");
  if (!frame) return;
  window.clientBounds = rect(object, "buffer").value_or(*frame);
  const Rect& buffer = window.clientBounds;
  const desktop::Extents beyond{.left = frame->x - buffer.x,
                                .right = buffer.x + buffer.width - frame->x - frame->width,
                                .top = frame->y - buffer.y,
                                .bottom = buffer.y + buffer.height - frame->y - frame->height};
  const bool hasShadow = beyond.left > 0 || beyond.right > 0 || beyond.top > 0 || beyond.bottom > 0;
  if (hasShadow) window.gtkFrame = beyond;
  if (!hasShadow) {
    window.frame = {.left = -beyond.left, .right = -beyond.right, .top = -beyond.top, .bottom = -beyond.bottom};
  }
}

WindowType typeOf(std::string_view kind) {
  if (kind == "desktopWindow") return WindowType::desktop;
  if (kind == "dock") return WindowType::dock;
  if (kind == "criticalNotification" || kind == "notification") return WindowType::notification;
  if (kind == "dialog") return WindowType::dialog;
  if (kind == "utility") return WindowType::utility;
  if (kind == "splash") return WindowType::splash;
  if (kind == "menu" || kind == "dropdownMenu" || kind == "popupMenu" || kind == "tooltip") return WindowType::menu;
  return kind.empty() ? WindowType::normal : WindowType::other;
}

std::optional<desktop::WindowID> windowOf(const Json& object, const char* name, WindowNumbers& numbers) {
  const auto identifier = desktop::textOf(object, name);
  if (!isWindowIdentifier(identifier)) return std::nullopt;
  return numbers.numberOf(identifier);
}

std::optional<Window> readWindow(const Json& object, WindowNumbers& numbers) {
  if (!object.is_object()) return std::nullopt;
  const auto id = windowOf(object, "id", numbers);
  if (!id) return std::nullopt;
  Window window{.id = *id};
  if (const auto pid = number(object, "pid", 1, std::numeric_limits<std::int32_t>::max())) {
    window.processIdentifier = static_cast<std::int32_t>(*pid);
  }
  window.name = desktop::textOf(object, "title");
  window.mayBeNumbered = true;
  window.className = desktop::textOf(object, "app");
  window.type = typeOf(desktop::textOf(object, "kind"));
  window.isModal = desktop::isTrue(object, "modal");
  window.isHidden = desktop::isTrue(object, "minimized");
  window.isMapped = !window.isHidden;
  window.skipsTaskbar = desktop::isTrue(object, "skipTaskbar");
  window.isAbove = desktop::isTrue(object, "above");
  window.isBelow = desktop::isTrue(object, "below");
  const auto desktop = number(object, "desktop", 1, 10'000);
  if (desktop) window.desktop = static_cast<std::uint32_t>(*desktop);
  window.transientFor = windowOf(object, "parent", numbers);
  window.opacity = number(object, "opacity", 0, 1).value_or(1);
  window.hasRelativePlaces = !desktop::isTrue(object, "x11");
  readPlace(object, window);
  return window;
}

struct Placed {
  double order = 0;
  Window window;
};

}  // namespace

desktop::WindowID WindowNumbers::numberOf(const std::string& identifier) {
  const auto [found, isNew] = numbers.try_emplace(identifier, next);
  if (isNew) ++next;
  return found->second;
}

std::optional<std::string> WindowNumbers::identifierOf(desktop::WindowID number) const {
  for (const auto& [identifier, known] : numbers) {
    if (known == number) return identifier;
  }
  return std::nullopt;
}

void WindowNumbers::retain(const WindowsSnapshot& snapshot) {
  std::unordered_set<desktop::WindowID> present;
  for (const auto& window : snapshot.windows) present.insert(window.id);
  std::erase_if(numbers, [&](const auto& entry) { return !present.contains(entry.second); });
}

std::optional<WindowsSnapshot> parseState(std::string_view json, WindowNumbers& numbers) {
  const auto parsed = parseStrictJson(json, kLimits);
  const auto* const state = std::get_if<Json>(&parsed);
  const Json* const windows = state && state->is_object() ? desktop::memberOf(*state, "windows") : nullptr;
  if (!windows || !windows->is_array() || windows->size() > kMostWindows) return std::nullopt;
  std::vector<Placed> placed;
  for (const auto& object : *windows) {
    if (auto window = readWindow(object, numbers)) {
      placed.push_back({number(object, "order", 0, kFarthest).value_or(0), *std::move(window)});
    }
  }
  std::stable_sort(placed.begin(), placed.end(), [](const auto& a, const auto& b) { return a.order < b.order; });
  WindowsSnapshot snapshot{.windows = {}, .coverage = desktop::WindowCoverage::all};
  const auto active = windowOf(*state, "active", numbers);
  for (auto& each : placed) {
    if (active == each.window.id) snapshot.active = active;
    snapshot.windows.push_back(std::move(each.window));
  }
  if (const auto current = number(*state, "current", 1, 10'000)) {
    snapshot.currentDesktop = static_cast<std::uint32_t>(*current);
  }
  if (const auto screen = numbersOf<2>(*state, "screen")) snapshot.screen = Size{(*screen)[0], (*screen)[1]};
  numbers.retain(snapshot);
  return snapshot;
}

}  // namespace quillard::kwin
