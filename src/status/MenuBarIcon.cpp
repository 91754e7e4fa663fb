#include "status/MenuBarIcon.h"

namespace quillard::MenuBarIcon {

TemplateImage image(std::int64_t count) {
  const bool isPending = count > 0;
  TemplateImage image{.size = {isPending ? 30.0 : 22.0, 18.0}, .steps = {}};
  auto& steps = image.steps;
  // The screen and its stand.
  steps.emplace_back(RoundedRectStep{.rect = {1.5, 4.5, 12.5, 9.5}, .radius = 2.2, .lineWidth = 2.1});
  steps.emplace_back(PolylineStep{.points = {{6.5, 4.5}, {5.5, 2.3}}, .lineWidth = 1.8});
  steps.emplace_back(PolylineStep{.points = {{9.0, 4.5}, {10.0, 2.3}}, .lineWidth = 1.8});
  steps.emplace_back(PolylineStep{.points = {{4.5, 2.2}, {11.1, 2.2}}, .lineWidth = 1.8});
  // The approval: a check mark in a ring, and a wave that goes out from it.
  steps.emplace_back(OvalStep{.rect = {11.2, 8.3, 6.6, 6.6}, .lineWidth = 1.8});
  steps.emplace_back(
      PolylineStep{.points = {{13.0, 11.6}, {14.4, 10.2}, {16.2, 12.7}}, .lineWidth = 1.8, .roundCapsAndJoins = true});
  steps.emplace_back(ArcStep{.center = {17.3, 11.7},
                             .radius = 3.0,
                             .startDegrees = -18,
                             .endDegrees = 45,
                             .lineWidth = 1.7,
                             .roundCaps = true});
  if (isPending) steps.emplace_back(OvalStep{.rect = {20.5, 9.3, 8.2, 8.2}, .lineWidth = 0});
  return image;
}

}  // namespace quillard::MenuBarIcon
