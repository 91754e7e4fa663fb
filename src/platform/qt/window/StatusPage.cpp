#include "platform/qt/window/StatusPage.h"

#include <algorithm>

#include <QtGui/QResizeEvent>

namespace quillard::qt {
namespace {

constexpr int kMargin = 28;
constexpr int kNarrowMargin = 16;
constexpr int kNarrow = 480;
constexpr int kHeaderGap = 24;
constexpr int kGap = 12;
constexpr int kColumnGap = 16;
constexpr int kWidest = 1080;
constexpr int kTwoColumns = 700;
constexpr int kLeastPairing = 296;
constexpr int kMostPairing = 348;

}  // namespace

StatusPage::StatusPage(QWidget* parent)
    : QWidget(parent),
      header(new HeaderView(this)),
      pairingCard(new PairingCard(this)),
      installLocationRow(new StatusRowCard(this, StatusWindowButton::installLocationPrimary,
                                           StatusWindowButton::installLocationSecondary)),
      accessibilityRow(new StatusRowCard(this, StatusWindowButton::accessibilityPrimary,
                                         StatusWindowButton::accessibilitySecondary)),
      loginItemRow(
          new StatusRowCard(this, StatusWindowButton::loginItemPrimary, StatusWindowButton::loginItemSecondary)),
      updateRow(new StatusRowCard(this, StatusWindowButton::updatePrimary, StatusWindowButton::updateSecondary)),
      notificationPauseRow(new StatusRowCard(this, StatusWindowButton::notificationPausePrimary,
                                             StatusWindowButton::notificationPauseSecondary)),
      questionRow(new StatusRowCard(this, StatusWindowButton::questionPrimary, StatusWindowButton::questionSecondary)),
      programsRow(new StatusRowCard(this, StatusWindowButton::programsPrimary, StatusWindowButton::programsSecondary)),
      mutedRow(new StatusRowCard(this, StatusWindowButton::mutedPrimary, StatusWindowButton::mutedSecondary)),
      relayRow(new StatusRowCard(this, StatusWindowButton::relayPrimary, StatusWindowButton::relaySecondary)) {
  relayRow->hide();
  questionRow->hide();
  programsRow->hide();
  mutedRow->hide();
  QSizePolicy policy{QSizePolicy::Preferred, QSizePolicy::Preferred};
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
  setBackgroundRole(QPalette::Window);
  for (std::size_t row = 0; row < kMostPhoneRows; ++row) {
    // Its one button is no invitation.
    phoneRows[row] = new StatusRowCard(this, StatusWindowButton::none, phoneButton(row));
    phoneRows[row]->hide();
  }
}

std::vector<StatusRowCard*> StatusPage::rows() const {
  std::vector<StatusRowCard*> shown{installLocationRow, accessibilityRow, loginItemRow, updateRow,
                                    notificationPauseRow};
  if (!mutedRow->isHidden()) shown.push_back(mutedRow);
  if (!programsRow->isHidden()) shown.insert(shown.begin() + 2, programsRow);  // Below what it is about.
  if (!relayRow->isHidden()) shown.push_back(relayRow);
  if (!questionRow->isHidden()) shown.insert(shown.begin(), questionRow);
  shown.insert(shown.end(), phoneRows.begin(), phoneRows.begin() + static_cast<std::ptrdiff_t>(phoneCount));
  return shown;
}

void StatusPage::setContent(const StatusWindowContent& content) {
  header->setContent(content);
  pairingCard->setContent(content);
  installLocationRow->setContent(content.installLocation);
  accessibilityRow->setContent(content.accessibility);
  loginItemRow->setContent(content.loginItem);
  updateRow->setContent(content.update);
  notificationPauseRow->setContent(content.notificationPause);
  if (content.question) questionRow->setContent(*content.question);
  questionRow->setVisible(content.question.has_value());
  phoneCount = std::min(content.phones.size(), kMostPhoneRows);
  for (std::size_t row = 0; row < kMostPhoneRows; ++row) {
    if (row < phoneCount) phoneRows[row]->setContent(content.phones[row]);
    phoneRows[row]->setVisible(row < phoneCount);
  }
  if (content.programs) programsRow->setContent(*content.programs);
  programsRow->setVisible(content.programs.has_value());
  if (content.muted) mutedRow->setContent(*content.muted);
  mutedRow->setVisible(content.muted.has_value());
  if (content.relay) relayRow->setContent(*content.relay);
  relayRow->setVisible(content.relay.has_value());
  updateGeometry();
  arrange(size(), Placing::place);
}

void StatusPage::updateAppearance() {
  header->updateAppearance();
  pairingCard->updateAppearance();
  for (auto* row : rows()) row->updateAppearance();
  updateGeometry();
  arrange(size(), Placing::place);
}

int StatusPage::heightForWidth(int width) const { return arrange({width, 0}, Placing::measure); }

QSize StatusPage::sizeHint() const { return {kComfortableWidth, heightForWidth(kComfortableWidth)}; }

QSize StatusPage::sizeFor(QSize room) const {
  constexpr int kStep = 20;
  const int widest = std::min(room.width(), kWidest + 2 * kMargin);
  int width = kComfortableWidth;
  while (heightForWidth(width) > room.height() && width + kStep <= widest) width += kStep;
  return {width, heightForWidth(width)};
}

void StatusPage::resizeEvent(QResizeEvent* event) { arrange(event->size(), Placing::place); }

int StatusPage::arrange(QSize size, Placing placing) const {
  const int margin = size.width() < kNarrow ? kNarrowMargin : kMargin;
  const int width = std::min(size.width() - 2 * margin, kWidest);
  const int x = (size.width() - width) / 2;
  const int headerHeight = header->heightFor(width);
  if (placing == Placing::place) header->place({x, margin, width, headerHeight});
  const QRect room{x, margin + headerHeight + kHeaderGap, width, 0};
  if (width >= kTwoColumns) return room.y() + arrangeColumns(room, placing) + margin;

  const int pairing = pairingCard->heightFor(width);
  if (placing == Placing::place) pairingCard->place({room.x(), room.y(), width, pairing});
  const int rowsHeight = arrangeRows({room.x(), room.y() + pairing + kGap, width, 0}, 0, placing);
  return room.y() + pairing + kGap + rowsHeight + margin;
}

// Both columns end at the same height: the shorter one spreads.
int StatusPage::arrangeColumns(QRect room, Placing placing) const {
  const int left = std::clamp(room.width() * 2 / 5, kLeastPairing, kMostPairing);
  QRect right{room.x() + left + kColumnGap, room.y(), room.width() - left - kColumnGap, 0};
  const int pairing = pairingCard->heightFor(left);
  const int natural = arrangeRows(right, 0, Placing::measure);
  const int count = static_cast<int>(rows().size());
  const int extra = std::max(0, pairing - natural + count - 1) / count;
  const int height = natural + extra * count;
  if (placing == Placing::place) {
    pairingCard->place({room.x(), room.y(), left, std::max(height, pairing)});
    arrangeRows(right, extra, Placing::place);
  }
  return std::max(height, pairing);
}

int StatusPage::arrangeRows(QRect room, int extraPerRow, Placing placing) const {
  int height = 0;
  for (auto* row : rows()) {
    const int y = height > 0 ? height + kGap : 0;
    const int own = row->heightFor(room.width()) + extraPerRow;
    if (placing == Placing::place) row->place({room.x(), room.y() + y, room.width(), own});
    height = y + own;
  }
  return height;
}

}  // namespace quillard::qt
