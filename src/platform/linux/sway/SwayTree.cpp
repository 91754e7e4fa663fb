#include "platform/linux/sway/SwayTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "foundation/StrictJson.h"
#include "foundation/Text.h"
#include "platform/linux/windows/ListedWindowJson.h"

namespace quillard::sway {
namespace {

using desktop::Window;
using desktop::WindowsSnapshot;

constexpr desktop::WindowID kFirst = desktop::WindowID{1} << 40U;
constexpr std::int64_t kMostContainers = std::int64_t{1} << 40U;
constexpr std::string_view kScratchpad = "__i3_scratch";
constexpr JsonLimits kLimits{
    .bytes = std::size_t{8} * 1024 * 1024, .depth = 256, .members = 256, .values = 2 * 1024 * 1024};

// One step of the way through the tree.
struct Step {
  const Json* node = nullptr;
  bool isHidden = false;  // Within the scratchpad.
};

std::optional<std::int64_t> integer(const Json& node, const char* name, std::int64_t lowest, std::int64_t highest) {
  const Json* const value = desktop::memberOf(node, name);
  if (!value || !value->is_number_integer()) return std::nullopt;
  const auto number = value->get<std::int64_t>();
  return number >= lowest && number <= highest ? std::optional{number} : std::nullopt;
}

std::optional<Rect> rect(const Json& node, const char* name) {
  const Json* const value = desktop::memberOf(node, name);
  if (!value || !value->is_object()) return std::nullopt;
  constexpr std::int64_t kFarthest = 1'000'000;
  const auto x = integer(*value, "x", -kFarthest, kFarthest);
  const auto y = integer(*value, "y", -kFarthest, kFarthest);
  const auto width = integer(*value, "width", 0, kFarthest);
  const auto height = integer(*value, "height", 0, kFarthest);
  if (!x || !y || !width || !height) return std::nullopt;
  return Rect{static_cast<double>(*x), static_cast<double>(*y), static_cast<double>(*width),
              static_cast<double>(*height)};
}

// The container with its title bar; within it the window, whose buffer may reach beyond it by its shadow.
void readPlace(const Json& node, Window& window) {
  const auto outer = rect(node, "rect");
  if (!outer) return;
  const auto inner = rect(node, "window_rect").value_or(Rect{0, 0, outer->width, outer->height});
  const auto title = rect(node, "deco_rect").value_or(Rect{});
  const auto shown = rect(node, "geometry").value_or(Rect{});
  const double top = title.height > 0 ? std::min(outer->y, title.y) : outer->y;
  window.clientBounds = {outer->x + inner.x - shown.x, outer->y + inner.y - shown.y, inner.width + 2 * shown.x,
                         inner.height + 2 * shown.y};
  if (shown.x > 0 || shown.y > 0) {
    window.gtkFrame = desktop::Extents{.left = shown.x, .right = shown.x, .top = shown.y, .bottom = shown.y};
    return;
  }
  window.frame = {.left = inner.x,
                  .right = std::max(0.0, outer->width - inner.x - inner.width),
                  .top = outer->y + inner.y - top,
                  .bottom = std::max(0.0, outer->height - inner.y - inner.height)};
}

void readXWindow(const Json& node, Window& window) {
  const Json* const properties = desktop::memberOf(node, "window_properties");
  if (!properties || !properties->is_object()) return;
  window.className = desktop::textOf(*properties, "class");
  const auto type = desktop::textOf(*properties, "window_type");
  if (type == "dialog") window.type = desktop::WindowType::dialog;
  if (type == "notification") window.type = desktop::WindowType::notification;
  if (type == "utility") window.type = desktop::WindowType::utility;
}

// A leaf of the tree, which shows a window: sway says of those alone whose they are.
std::optional<Window> readWindow(const Json& node, bool isHidden) {
  const auto container = integer(node, "id", 1, kMostContainers - 1);
  const auto process = integer(node, "pid", 1, std::numeric_limits<std::int32_t>::max());
  if (!container || !process) return std::nullopt;
  Window window{.id = windowOf(*container), .processIdentifier = static_cast<std::int32_t>(*process)};
  window.name = desktop::textOf(node, "name");
  window.className = desktop::textOf(node, "app_id");
  window.isHidden = isHidden;
  window.isMapped = desktop::isTrue(node, "visible");
  window.hasRelativePlaces = desktop::textOf(node, "shell") != "xwayland";
  if (!window.hasRelativePlaces) readXWindow(node, window);
  readPlace(node, window);
  return window;
}

class TreeReader {
 public:
  // Absent: there are too many, so that some would be missing.
  std::optional<WindowsSnapshot> read(const Json& root) {
    std::vector<Step> steps{{&root}};
    while (!steps.empty()) {
      const Step step = steps.back();
      steps.pop_back();
      const Json& node = *step.node;
      if (!node.is_object()) continue;
      const bool isWorkspace = desktop::textOf(node, "type") == "workspace";
      const bool isHidden = step.isHidden || (isWorkspace && desktop::textOf(node, "name") == kScratchpad);
      if (isWorkspace) workspace = integer(node, "id", 1, std::numeric_limits<std::int32_t>::max());
      visit(node, isHidden);
      if (snapshot.windows.size() > kMostWindows) return std::nullopt;
      // Taken from the end: floating windows come last.
      push(node, "floating_nodes", isHidden, steps);
      push(node, "nodes", isHidden, steps);
    }
    return std::move(snapshot);
  }

 private:
  void visit(const Json& node, bool isHidden) {
    if (desktop::isTrue(node, "focused") && workspace) snapshot.currentDesktop = static_cast<std::uint32_t>(*workspace);
    auto window = readWindow(node, isHidden);
    if (!window) return;
    if (desktop::isTrue(node, "focused")) snapshot.active = window->id;
    snapshot.windows.push_back(*std::move(window));
  }

  static void push(const Json& node, const char* name, bool isHidden, std::vector<Step>& steps) {
    const Json* const children = desktop::memberOf(node, name);
    if (!children || !children->is_array()) return;
    for (auto child = children->rbegin(); child != children->rend(); ++child) steps.push_back({&*child, isHidden});
  }

  WindowsSnapshot snapshot{.windows = {}, .coverage = desktop::WindowCoverage::all};
  std::optional<std::int64_t> workspace;  // The one that is being gone through.
};

// Of the character that begins here, by its first byte. One: it begins none.
std::size_t lengthOfCharacter(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if ((byte & 0xE0U) == 0xC0U) return 2;
  if ((byte & 0xF0U) == 0xE0U) return 3;
  return (byte & 0xF8U) == 0xF0U ? 4 : 1;
}

// Titles are handed on by sway as programs gave them.
std::string withoutBrokenText(std::string_view json) {
  if (text::isValidUtf8(json)) return std::string(json);
  std::string mended;
  mended.reserve(json.size());
  while (!json.empty()) {
    const auto character = json.substr(0, lengthOfCharacter(json.front()));
    const bool isValid = text::isValidUtf8(character);
    mended += isValid ? character : "?";
    json.remove_prefix(isValid ? character.size() : 1);
  }
  return mended;
}

}  // namespace

desktop::WindowID windowOf(std::int64_t container) { return kFirst + static_cast<desktop::WindowID>(container); }

std::optional<std::int64_t> containerOf(desktop::WindowID window) {
  if (window <= kFirst || window >= 2 * kFirst) return std::nullopt;
  return static_cast<std::int64_t>(window - kFirst);
}

std::optional<WindowsSnapshot> parseTree(std::string_view json) {
  const auto parsed = parseStrictJson(withoutBrokenText(json), kLimits);
  const auto* const root = std::get_if<Json>(&parsed);
  if (!root || !root->is_object() || desktop::textOf(*root, "type") != "root") return std::nullopt;
  auto snapshot = TreeReader{}.read(*root);
  if (!snapshot) return std::nullopt;
  if (const auto screen = rect(*root, "rect")) snapshot->screen = Size{screen->width, screen->height};
  return snapshot;
}

std::string changeOf(std::string_view event) {
  const auto parsed = parseStrictJson(withoutBrokenText(event), kLimits);
  const auto* const object = std::get_if<Json>(&parsed);
  return object && object->is_object() ? desktop::textOf(*object, "change") : std::string{};
}

bool isSuccess(std::string_view reply) {
  const auto parsed = parseStrictJson(reply, kLimits);
  const auto* const results = std::get_if<Json>(&parsed);
  if (results && results->is_object()) return desktop::isTrue(*results, "success");
  return results && results->is_array() && !results->empty() &&
         std::all_of(results->begin(), results->end(),
                     [](const Json& result) { return result.is_object() && desktop::isTrue(result, "success"); });
}

}  // namespace quillard::sway
