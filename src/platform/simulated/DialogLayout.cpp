#include "platform/simulated/DialogLayout.h"

#include <algorithm>

namespace quillard::platform::simulated {

namespace {

constexpr double kMargin = 20;
constexpr double kTitleBar = 28;
constexpr double kLineHeight = 20;
constexpr double kLineGap = 6;
constexpr double kButtonHeight = 28;
constexpr double kButtonGap = 12;
constexpr double kNarrowest = 420;

double buttonWidth(const std::string& label) { return std::max(80.0, 24.0 + 8.0 * static_cast<double>(label.size())); }

Size contentSize(const DialogSpec& dialog) {
  double row = 2 * kMargin;
  for (const std::string& label : dialog.buttons) row += buttonWidth(label) + kButtonGap;
  const double lines = static_cast<double>(dialog.lines.size()) * (kLineHeight + kLineGap);
  return {std::max(kNarrowest, row), kTitleBar + kMargin + lines + kMargin + kButtonHeight + kMargin};
}

ElementSpec textLine(const std::string& text, const Rect& window, std::size_t index) {
  const double top = window.y + kTitleBar + kMargin + static_cast<double>(index) * (kLineHeight + kLineGap);
  return {.role = std::string(ax::kStaticTextRole),
          .value = text,
          .frame = Rect{window.x + kMargin, top, window.width - 2 * kMargin, kLineHeight}};
}

ElementSpec button(const DialogSpec& dialog, const std::string& label, const Rect& frame) {
  const auto own = dialog.effects.find(label);
  return {.role = std::string(ax::kButtonRole),
          .title = label,
          .frame = frame,
          .attributes = {{std::string(ax::kEnabled), AXValue{true}}},
          .actions = {std::string(ax::kPressAction)},
          .effects = {{std::string(ax::kPressAction), own == dialog.effects.end() ? dialog.effect : own->second}}};
}

std::vector<ElementSpec> content(const DialogSpec& dialog, const Rect& window) {
  std::vector<ElementSpec> elements;
  for (const std::string& line : dialog.lines) elements.push_back(textLine(line, window, elements.size()));
  double left = window.x + kMargin;
  const double top = window.y + window.height - kMargin - kButtonHeight;
  for (const std::string& label : dialog.buttons) {
    elements.push_back(button(dialog, label, {left, top, buttonWidth(label), kButtonHeight}));
    left += buttonWidth(label) + kButtonGap;
  }
  elements.insert(elements.end(), dialog.extra.begin(), dialog.extra.end());
  return elements;
}

}  // namespace

ElementSpec dialogWindow(const DialogSpec& dialog, Point origin) {
  const Size size = contentSize(dialog);
  const Rect frame = dialog.frame.value_or(Rect{origin.x, origin.y, size.width, size.height});
  ElementSpec window{.role = dialog.role,
                     .title = dialog.title,
                     .modal = dialog.modal,
                     .frame = frame,
                     .actions = dialog.actions,
                     .children = content(dialog, frame)};
  if (!dialog.subrole.empty()) window.subrole = dialog.subrole;
  return window;
}

}  // namespace quillard::platform::simulated
