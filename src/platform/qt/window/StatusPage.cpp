#include "platform/qt/window/StatusPage.h"

#include <algorithm>
#include <array>
#include <limits>

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
constexpr int kThreeColumns = 1180;
constexpr int kWidestOfThree = 1310;
// So many rows are about as high as the pairing card.
constexpr std::size_t kRowsOfOneColumn = 6;
constexpr int kLeastPairing = 296;
constexpr int kMostPairing = 348;
constexpr int kMostPairingOfThree = 440;

// What `rows` take one below the other.
int heightOf(StatusPage::Rows rows, int width) {
  int height = rows.empty() ? 0 : -kGap;
  for (auto* row : rows) height += kGap + row->heightFor(width);
  return height;
}

// How many rows stand in the first of two columns, so that the higher one is as low as can be.
std::size_t evenSplit(StatusPage::Rows rows, int width) {
  std::size_t best = rows.size();
  int lowest = std::numeric_limits<int>::max();
  for (std::size_t first = 1; first < rows.size(); ++first) {
    const int height = std::max(heightOf(rows.first(first), width), heightOf(rows.subspan(first), width));
    if (height >= lowest) continue;
    lowest = height;
    best = first;
  }
  return best;
}

// All of `height` is used: each row gets its share of what is left over.
void placeRows(StatusPage::Rows rows, QRect room, int height) {
  if (rows.empty()) return;
  const int left = std::max(0, height - heightOf(rows, room.width()));
  const int share = left / static_cast<int>(rows.size());
  int y = room.y();
  for (auto* row : rows) {
    const int rest = row == rows.back() ? left % static_cast<int>(rows.size()) : 0;
    const int own = row->heightFor(room.width()) + share + rest;
    row->place({room.x(), y, room.width(), own});
    y += own + kGap;
  }
}

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
  const int widest = std::min(room.width(), (hasManyRows() ? kWidestOfThree : kWidest) + 2 * kMargin);
  int width = kComfortableWidth;
  while (heightForWidth(width) > room.height() && width < widest) width = std::min(width + kStep, widest);
  return {width, heightForWidth(width)};
}

void StatusPage::resizeEvent(QResizeEvent* event) { arrange(event->size(), Placing::place); }

int StatusPage::arrange(QSize size, Placing placing) const {
  const int margin = size.width() < kNarrow ? kNarrowMargin : kMargin;
  const int inner = size.width() - 2 * margin;
  const int width = std::min(inner, inner >= kThreeColumns && hasManyRows() ? kWidestOfThree : kWidest);
  const int x = (size.width() - width) / 2;
  const int headerHeight = header->heightFor(width);
  if (placing == Placing::place) header->place({x, margin, width, headerHeight});
  const QRect room{x, margin + headerHeight + kHeaderGap, width, 0};
  if (width >= kTwoColumns) return room.y() + arrangeColumns(room, placing) + margin;

  const int pairing = pairingCard->heightFor(width);
  if (placing == Placing::place) pairingCard->place({room.x(), room.y(), width, pairing});
  const auto shown = rows();
  const int rowsHeight = heightOf(shown, width);
  if (placing == Placing::place) placeRows(shown, {room.x(), room.y() + pairing + kGap, width, 0}, rowsHeight);
  return room.y() + pairing + kGap + rowsHeight + margin;
}

bool StatusPage::hasManyRows() const { return rows().size() > kRowsOfOneColumn; }

// Beside two columns of rows: the width that makes the page lowest, and of several the least.
int StatusPage::pairingWidthBesideTwo(int width) const {
  constexpr int kStep = 8;
  const auto shown = rows();
  int best = kLeastPairing;
  int lowest = std::numeric_limits<int>::max();
  for (int left = kLeastPairing; left <= kMostPairingOfThree; left += kStep) {
    const int rowWidth = (width - left) / 2 - kColumnGap;
    const auto first = evenSplit(shown, rowWidth);
    const int height = std::max({pairingCard->heightFor(left), heightOf(Rows{shown}.first(first), rowWidth),
                                 heightOf(Rows{shown}.subspan(first), rowWidth)});
    if (height >= lowest) continue;
    lowest = height;
    best = left;
  }
  return best;
}

// The rows in one column, or in two where there are many and the page is wide. All columns end at the same height: the
// shorter ones spread.
int StatusPage::arrangeColumns(QRect room, Placing placing) const {
  const auto shown = rows();
  const bool isWide = room.width() >= kThreeColumns && hasManyRows();
  const int left =
      isWide ? pairingWidthBesideTwo(room.width()) : std::clamp(room.width() * 2 / 5, kLeastPairing, kMostPairing);
  const int columnCount = isWide ? 2 : 1;
  const int rowWidth = (room.width() - left) / columnCount - kColumnGap;
  const std::size_t first = isWide ? evenSplit(shown, rowWidth) : shown.size();
  const std::array columns{Rows{shown}.first(first), Rows{shown}.subspan(first)};
  const int pairing = pairingCard->heightFor(left);
  const int natural = std::max(heightOf(columns[0], rowWidth), heightOf(columns[1], rowWidth));
  // A single column takes whole shares.
  const int share = isWide ? 1 : static_cast<int>(shown.size());
  const int height = natural + std::max(0, pairing - natural + share - 1) / share * share;
  if (placing == Placing::place) {
    pairingCard->place({room.x(), room.y(), left, height});
    int x = room.x() + left + kColumnGap;
    for (const auto& column : columns) {
      placeRows(column, {x, room.y(), rowWidth, 0}, height);
      x += rowWidth + kColumnGap;
    }
  }
  return height;
}

}  // namespace quillard::qt
