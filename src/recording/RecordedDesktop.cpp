#include "recording/RecordedDesktop.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace quillard::recording {
namespace {

bool isSame(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }
bool isSame(const Point& a, const Point& b) { return isSame(a.x, b.x) && isSame(a.y, b.y); }
bool isSame(const Size& a, const Size& b) { return isSame(a.width, b.width) && isSame(a.height, b.height); }
bool isSame(const Rect& a, const Rect& b) {
  return isSame(Point{a.x, a.y}, Point{b.x, b.y}) && isSame(Size{a.width, a.height}, Size{b.width, b.height});
}

template <class T>
bool isSame(const std::optional<T>& a, const std::optional<T>& b) {
  return a && b ? isSame(*a, *b) : a.has_value() == b.has_value();
}

bool isSame(const RecordedValue& a, const RecordedValue& b) {
  if (a.index() != b.index()) return false;
  const auto isSameAsInB = [&b]<class T>(const T& value) {
    constexpr bool isMadeOfNumbers =
        std::is_same_v<T, double> || std::is_same_v<T, Point> || std::is_same_v<T, Size> || std::is_same_v<T, Rect>;
    if constexpr (isMadeOfNumbers) {
      return isSame(value, std::get<T>(b));
    } else {
      return value == std::get<T>(b);
    }
  };
  return std::visit(isSameAsInB, a);
}

bool isSame(const RecordedAttributes& a, const RecordedAttributes& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& left, const auto& right) {
    return left.first == right.first && isSame(left.second, right.second);
  });
}

}  // namespace

bool RecordedElement::operator==(const RecordedElement& other) const {
  return processIdentifier == other.processIdentifier && actionNames == other.actionNames &&
         isSame(attributes, other.attributes);
}

bool RecordedWindowListEntry::operator==(const RecordedWindowListEntry& other) const {
  const auto& a = entry;
  const auto& b = other.entry;
  return isOnScreen == other.isOnScreen && a.ownerProcessIdentifier == b.ownerProcessIdentifier &&
         a.ownerName == b.ownerName && a.windowName == b.windowName && a.layer == b.layer && isSame(a.alpha, b.alpha) &&
         isSame(a.bounds, b.bounds);
}

}  // namespace quillard::recording
