#pragma once

#include "platform/qt/window/CardView.h"
#include "platform/qt/window/WrappedLabel.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// One setting: a symbol, what it is called, how it stands, what that means, and what one can do about it.
class StatusRowCard final : public CardView {
 public:
  StatusRowCard(QWidget* parent, StatusWindowButton primary, StatusWindowButton secondary);

  void setContent(const StatusRowContent& content);
  void updateAppearance();

 protected:
  int arrange(QSize size, Placing placing) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  [[nodiscard]] bool hasRoomBeside(int width) const;
  int arrangeTexts(QRect room, Placing placing);
  int arrangeStatus(QPoint topLeft, int width, Placing placing);

  std::string symbol;
  Tint tint;
  QRect symbolTile;
  QRect statusDot;
  WrappedLabel* titleLabel;
  WrappedLabel* statusLabel;
  WrappedLabel* detailLabel;
  ActionButton* primaryButton;
  ActionButton* secondaryButton;
  ButtonFlow actions;
};

}  // namespace quillard::qt
