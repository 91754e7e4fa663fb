#include "platform/linux/accessibility/WindowMatching.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/linux/windows/WindowTitles.h"

namespace quillard::atspi {

namespace {

// Rounding, and borders that are counted or not.
constexpr double kSamePlace = 2;
// GTK 4 counts its client-side borders out.
constexpr double kSameSize = 40;

constexpr int kTitleScore = 16;
constexpr int kNumberedTitleScore = 8;
constexpr int kPlaceScore = 4;
constexpr int kSizeScore = 2;
constexpr int kVisibilityScore = 1;

bool isNear(double a, double b, double tolerance) { return std::abs(a - b) <= tolerance; }

bool hasSamePlace(const Rect& a, const Rect& b) {
  return isNear(a.x, b.x, kSamePlace) && isNear(a.y, b.y, kSamePlace) && isNear(a.width, b.width, kSamePlace) &&
         isNear(a.height, b.height, kSamePlace);
}

bool hasSameSize(const Rect& a, const Rect& b) {
  return isNear(a.width, b.width, kSameSize) && isNear(a.height, b.height, kSameSize);
}

int placeScore(const AccessibleWindow& accessible, const desktop::Window& window) {
  if (!accessible.extents) return 0;
  const Rect& extents = *accessible.extents;
  const Rect outer = visibleBounds(window);
  if (accessible.tellsPlace && !window.hasRelativePlaces &&
      (hasSamePlace(extents, outer) || hasSamePlace(extents, window.clientBounds))) {
    return kPlaceScore;
  }
  return hasSameSize(extents, outer) || hasSameSize(extents, window.clientBounds) ? kSizeScore : 0;
}

int titleScore(const AccessibleWindow& accessible, const desktop::Window& window) {
  if (!window.name.empty() && window.name == accessible.name) return kTitleScore;
  return isNumbered(window, accessible.name) ? kNumberedTitleScore : 0;
}

// How well the two fit; zero or less: they may not be matched by what they say.
int score(const AccessibleWindow& accessible, const desktop::Window& window) {
  const int title = titleScore(accessible, window);
  if (!accessible.isShowing) return window.isHidden ? title : 0;
  // A title that both have, and that differs, speaks against the pair; toolkits that name their dialogs by kind still
  // show them at the place of their window.
  const int place = placeScore(accessible, window);
  if (title == 0 && !window.name.empty() && !accessible.name.empty() && place < kPlaceScore) return 0;
  const int sum = title + place;
  return sum > 0 && !window.isHidden ? sum + kVisibilityScore : sum;
}

struct Pair {
  std::size_t accessible = 0;
  std::size_t window = 0;
  int score = 0;
};

std::vector<Pair> bestFirst(std::span<const AccessibleWindow> accessible, std::span<const desktop::Window> windows) {
  // Both sides by age, as far as it shows: of windows that cannot be told apart, the older ones belong together.
  std::vector<std::size_t> byAge(windows.size());
  std::iota(byAge.begin(), byAge.end(), std::size_t{0});
  std::stable_sort(byAge.begin(), byAge.end(), [&](auto a, auto b) { return windows[a].id < windows[b].id; });
  std::vector<Pair> pairs;
  for (std::size_t i = 0; i < accessible.size(); ++i) {
    for (const auto window : byAge) {
      if (const int fit = score(accessible[i], windows[window]); fit > 0) pairs.push_back({i, window, fit});
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.score > b.score; });
  return pairs;
}

}  // namespace

Rect visibleBounds(const desktop::Window& window) {
  const Rect& client = window.clientBounds;
  const auto& frame = window.frame;
  const auto shadow = window.gtkFrame.value_or(desktop::Extents{});
  return {client.x - frame.left + shadow.left, client.y - frame.top + shadow.top,
          client.width + frame.left + frame.right - shadow.left - shadow.right,
          client.height + frame.top + frame.bottom - shadow.top - shadow.bottom};
}

std::vector<std::optional<std::size_t>> matchWindows(std::span<const AccessibleWindow> accessible,
                                                     std::span<const desktop::Window> windows, bool areAll) {
  std::vector<std::optional<std::size_t>> matches(accessible.size());
  std::vector<bool> isTaken(windows.size(), false);
  const auto join = [&](std::size_t i, std::size_t window) {
    matches[i] = window;
    isTaken[window] = true;
  };
  for (const auto& pair : bestFirst(accessible, windows)) {
    if (!matches[pair.accessible] && !isTaken[pair.window]) join(pair.accessible, pair.window);
  }
  if (!areAll) return matches;
  const auto isLeft = [&](std::size_t i) { return !matches[i] && accessible[i].isShowing; };
  std::vector<std::size_t> leftAccessible;
  for (std::size_t i = 0; i < accessible.size(); ++i) {
    if (isLeft(i)) leftAccessible.push_back(i);
  }
  const auto leftWindows = std::count(isTaken.begin(), isTaken.end(), false);
  if (leftAccessible.size() == 1 && leftWindows == 1) {
    const auto window = std::find(isTaken.begin(), isTaken.end(), false) - isTaken.begin();
    join(leftAccessible.front(), static_cast<std::size_t>(window));
  }
  return matches;
}

}  // namespace quillard::atspi
