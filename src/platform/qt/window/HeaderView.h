#pragma once

#include "platform/qt/window/CardView.h"
#include "platform/qt/window/PillView.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// The top of the window: whose window this is, and in one glance whether all is well.
class HeaderView final : public ArrangedView {
 public:
  explicit HeaderView(QWidget* parent);

  void setContent(const StatusWindowContent& content);
  void updateAppearance();

 protected:
  int arrange(QSize size, Placing placing) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  int arrangeTexts(QRect room, Placing placing);

  QRect iconBox;
  WrappedLabel* titleLabel;
  WrappedLabel* headlineLabel;
  WrappedLabel* detailLabel;
  PillView* statePill;
};

}  // namespace quillard::qt
