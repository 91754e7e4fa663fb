#include "platform/macos/objc/PathPlan.h"

#include <optional>

namespace quillard::macos {
namespace {

struct Planner {
  std::optional<PathPlan> operator()(const RoundedRectStep& step) const {
    if (step.lineWidth <= 0) return std::nullopt;
    return PathPlan{.shape = PathPlan::RoundedRect{step.rect, step.radius}, .lineWidth = step.lineWidth};
  }
  std::optional<PathPlan> operator()(const OvalStep& step) const {
    if (step.lineWidth < 0) return std::nullopt;
    return PathPlan{.shape = PathPlan::Oval{step.rect}, .lineWidth = step.lineWidth};
  }
  std::optional<PathPlan> operator()(const PolylineStep& step) const {
    if (step.lineWidth <= 0 || step.points.size() < 2) return std::nullopt;
    return PathPlan{.shape = PathPlan::Lines{step.points},
                    .lineWidth = step.lineWidth,
                    .hasRoundCaps = step.roundCapsAndJoins,
                    .hasRoundJoins = step.roundCapsAndJoins};
  }
  std::optional<PathPlan> operator()(const ArcStep& step) const {
    if (step.lineWidth <= 0) return std::nullopt;
    return PathPlan{.shape = PathPlan::Arc{step.center, step.radius, step.startDegrees, step.endDegrees},
                    .lineWidth = step.lineWidth,
                    .hasRoundCaps = step.roundCaps};
  }
};

}  // namespace

std::vector<PathPlan> pathPlans(const TemplateImage& image) {
  std::vector<PathPlan> plans;
  for (const auto& step : image.steps) {
    if (auto plan = std::visit(Planner{}, step)) plans.push_back(std::move(*plan));
  }
  return plans;
}

}  // namespace quillard::macos
