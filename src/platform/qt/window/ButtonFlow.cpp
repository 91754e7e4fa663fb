#include "platform/qt/window/ButtonFlow.h"

#include <algorithm>

namespace quillard::qt {
namespace {

constexpr int kGap = 2;  // Besides the room that each button keeps for its ring.

}  // namespace

bool ButtonFlow::isEmpty() const {
  return std::all_of(buttons.begin(), buttons.end(), [](const auto* button) { return button->isHidden(); });
}

int ButtonFlow::naturalWidth() const {
  int width = 0;
  for (const auto* button : buttons) {
    if (!button->isHidden()) width += (width > 0 ? kGap : 0) + button->naturalWidth();
  }
  return width;
}

std::vector<ButtonFlow::Line> ButtonFlow::lines(int width) const {
  std::vector<Line> lines;
  for (auto* button : buttons) {
    if (button->isHidden()) continue;
    const int own = std::min(button->naturalWidth(), width);
    const bool fits = !lines.empty() && lines.back().width + kGap + own <= width;
    if (!fits) lines.emplace_back();
    Line& line = lines.back();
    line.width += (line.buttons.empty() ? 0 : kGap) + own;
    line.height = std::max(line.height, button->heightForWidth(own));
    line.buttons.push_back(button);
  }
  return lines;
}

int ButtonFlow::arrange(QPoint topLeft, int width, Qt::Alignment alignment, Placing placing) const {
  int height = 0;
  for (const Line& line : lines(width)) {
    const int y = height + (height > 0 ? kGap : 0);
    const int spare = width - line.width;
    const int x = alignment & Qt::AlignHCenter ? spare / 2 : alignment & Qt::AlignRight ? spare : 0;
    if (placing == Placing::place) placeLine(line, topLeft + QPoint{x, y}, width);
    height = y + line.height;
  }
  return height;
}

void ButtonFlow::placeLine(const Line& line, QPoint topLeft, int width) {
  int x = topLeft.x();
  for (auto* button : line.buttons) {
    const int own = std::min(button->naturalWidth(), width);
    button->setGeometry(x, topLeft.y(), own, line.height);
    x += own + kGap;
  }
}

}  // namespace quillard::qt
