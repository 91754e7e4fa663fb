#pragma once

#include "platform/qt/window/CardView.h"
#include "platform/qt/window/CodeView.h"
#include "platform/qt/window/PillView.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// The pairing code with what to do with it, and how the pairing stands.
class PairingCard final : public CardView {
 public:
  explicit PairingCard(QWidget* parent);

  void setContent(const StatusWindowContent& content);
  void updateAppearance();

 protected:
  int arrange(QSize size, Placing placing) override;

 private:
  int arrangeBelow(QSize size, Placing placing);
  int arrangeBeside(QSize size, Placing placing);
  int arrangeTexts(QRect room, Placing placing);
  int arrangePage(QRect room, Placing placing);
  int arrangeCode(QRect room, Placing placing);
  int arrangeCaption(QRect room, Qt::Alignment alignment, Placing placing);
  void showStatus();

  std::string status;
  Tint statusTint;
  WrappedLabel* pairingTitleLabel;
  PillView* pairStatusLabel;
  WrappedLabel* pairingDetailLabel;
  CodeView* pageCodeView;  // Where the page is, with the text beside it.
  WrappedLabel* pageCaptionLabel;
  CodeView* qrImageView;
  WrappedLabel* qrCaptionLabel;
  ActionButton* pairingActionButton;
  ActionButton* pairAnotherButton;
  ActionButton* unpairPhoneButton;
  ButtonFlow pairingButtonStack;
};

}  // namespace quillard::qt
