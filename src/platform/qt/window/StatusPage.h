#pragma once

#include <array>
#include <span>
#include <vector>

#include "platform/qt/window/HeaderView.h"
#include "platform/qt/window/PairingCard.h"
#include "platform/qt/window/StatusRowCard.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// All that scrolls in the window: in two columns where there is room, in one elsewhere; in three where the rows are
// many and the window is wide.
class StatusPage final : public QWidget {
 public:
  static constexpr int kComfortableWidth = 960;
  static constexpr int kLeastWidth = 360;
  using Rows = std::span<StatusRowCard* const>;

  explicit StatusPage(QWidget* parent);

  void setContent(const StatusWindowContent& content);
  // Colours and fonts may have changed.
  void updateAppearance();

  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;
  // The size at which all of it is seen within `room`: wider than comfortable where that makes it low enough. Higher
  // than `room` when nothing does.
  [[nodiscard]] QSize sizeFor(QSize room) const;
  [[nodiscard]] QSize minimumSizeHint() const override { return {kLeastWidth, 1}; }

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  int arrange(QSize size, Placing placing) const;
  [[nodiscard]] int pairingWidthBesideTwo(int width) const;
  int arrangeColumns(QRect room, Placing placing) const;
  [[nodiscard]] bool hasManyRows() const;
  [[nodiscard]] std::vector<StatusRowCard*> rows() const;  // Those that are shown, from top to bottom.

  HeaderView* header;
  PairingCard* pairingCard;
  StatusRowCard* installLocationRow;
  StatusRowCard* accessibilityRow;
  StatusRowCard* loginItemRow;
  StatusRowCard* updateRow;
  StatusRowCard* notificationPauseRow;
  StatusRowCard* questionRow;
  std::array<StatusRowCard*, kMostPhoneRows> phoneRows;
  std::size_t phoneCount = 0;
  StatusRowCard* programsRow;
  StatusRowCard* mutedRow;
  StatusRowCard* relayRow;
};

}  // namespace quillard::qt
