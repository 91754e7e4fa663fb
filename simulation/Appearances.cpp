#include "simulation/Appearances.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillard::simulation {

using platform::simulated::ApplicationHandle;
using platform::simulated::NodeHandle;

Appearance& Appearances::add(Appearance appearance) {
  appearance.number = appearances.size();
  appearance.from = stage.now();
  return appearances.emplace_back(std::move(appearance));
}

void Appearances::end(Appearance& appearance) {
  if (appearance.to) return;
  appearance.to = stage.now();
  stage.trace("desktop", "appearance ", appearance.number, " ends");
}

void Appearances::endAllOf(ApplicationHandle application) {
  for (Appearance& appearance : appearances) {
    if (appearance.application == application) end(appearance);
  }
}

std::vector<std::size_t> Appearances::open() const {
  std::vector<std::size_t> found;
  for (const Appearance& appearance : appearances) {
    if (!appearance.to) found.push_back(appearance.number);
  }
  return found;
}

Appearance* Appearances::current(NodeHandle window) {
  for (auto appearance = appearances.rbegin(); appearance != appearances.rend(); ++appearance) {
    if (appearance->window == window && !appearance->to) return &*appearance;
  }
  return nullptr;
}

std::optional<std::size_t> Appearances::at(NodeHandle window, Seconds time) const {
  const auto found = std::find_if(appearances.begin(), appearances.end(), [&](const Appearance& appearance) {
    return appearance.window == window && appearance.from <= time + kSameMoment &&
           (!appearance.to || time <= *appearance.to + kSameMoment);
  });
  return found == appearances.end() ? std::nullopt : std::optional{found->number};
}

std::optional<std::size_t> Appearances::predecessorOf(std::size_t number) const {
  const Appearance& its = appearances[number];
  const auto found = std::find_if(appearances.begin(), appearances.end(), [&](const Appearance& earlier) {
    return earlier.window == its.window && earlier.number != number && earlier.to &&
           std::abs((*earlier.to - its.from).count()) <= kSameMoment.count();
  });
  return found == appearances.end() ? std::nullopt : std::optional{found->number};
}

bool Appearances::tookItsWindowAlong(std::size_t number) const {
  const Appearance& its = appearances[number];
  return its.to && std::none_of(appearances.begin(), appearances.end(), [&](const Appearance& other) {
           return other.window == its.window && other.number != number && other.from >= *its.to - kSameMoment;
         });
}

}  // namespace quillard::simulation
