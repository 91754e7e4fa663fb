#include "platform/macos/objc/TemplateDrawing.h"

#include <cstddef>
#include <variant>
#include <vector>

#include "platform/macos/objc/PathPlan.h"

namespace quillard::macos {
namespace {

NSRect nsRect(const Rect& rect) { return NSMakeRect(rect.x, rect.y, rect.width, rect.height); }
NSPoint nsPoint(Point point) { return NSMakePoint(point.x, point.y); }

struct PathMaker {
  NSBezierPath* operator()(const PathPlan::RoundedRect& shape) const {
    return [NSBezierPath bezierPathWithRoundedRect:nsRect(shape.rect) xRadius:shape.radius yRadius:shape.radius];
  }
  NSBezierPath* operator()(const PathPlan::Oval& shape) const {
    return [NSBezierPath bezierPathWithOvalInRect:nsRect(shape.rect)];
  }
  NSBezierPath* operator()(const PathPlan::Lines& shape) const {
    NSBezierPath* const path = [NSBezierPath bezierPath];
    [path moveToPoint:nsPoint(shape.points.front())];
    for (std::size_t i = 1; i < shape.points.size(); ++i) [path lineToPoint:nsPoint(shape.points[i])];
    return path;
  }
  NSBezierPath* operator()(const PathPlan::Arc& shape) const {
    NSBezierPath* const path = [NSBezierPath bezierPath];
    [path appendBezierPathWithArcWithCenter:nsPoint(shape.center)
                                     radius:shape.radius
                                 startAngle:shape.startDegrees
                                   endAngle:shape.endDegrees];
    return path;
  }
};

// Into the context that is current.
void draw(const PathPlan& plan) {
  NSBezierPath* const path = std::visit(PathMaker{}, plan.shape);
  if (plan.lineWidth <= 0) {
    [path fill];
    return;
  }
  path.lineWidth = plan.lineWidth;
  path.lineCapStyle = plan.hasRoundCaps ? NSLineCapStyleRound : NSLineCapStyleButt;
  path.lineJoinStyle = plan.hasRoundJoins ? NSLineJoinStyleRound : NSLineJoinStyleMiter;
  [path stroke];
}

}  // namespace

NSImage* templateImage(const TemplateImage& image) {
  const std::vector<PathPlan> plans = pathPlans(image);
  NSImage* const drawn = [NSImage imageWithSize:NSMakeSize(image.size.width, image.size.height)
                                        flipped:NO
                                 drawingHandler:^BOOL(NSRect) {
                                   [NSColor.labelColor set];
                                   for (const auto& plan : plans) draw(plan);
                                   return YES;
                                 }];
  [drawn setTemplate:YES];  // A property whose name is a word of C++.
  return drawn;
}

}  // namespace quillard::macos
