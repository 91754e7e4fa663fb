#include <QtGui/QKeyEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>
#include <gtest/gtest.h>

#include "platform/qt/window/QtStatusWindowView.h"
#include "platform/qt/window/QtStatusWindowViews.h"
#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr std::array kAllButtons{StatusWindowButton::pairingAction,
                                 StatusWindowButton::pairAnother,
                                 StatusWindowButton::unpairPhone,
                                 StatusWindowButton::installLocationPrimary,
                                 StatusWindowButton::installLocationSecondary,
                                 StatusWindowButton::accessibilityPrimary,
                                 StatusWindowButton::accessibilitySecondary,
                                 StatusWindowButton::loginItemPrimary,
                                 StatusWindowButton::loginItemSecondary,
                                 StatusWindowButton::updatePrimary,
                                 StatusWindowButton::updateSecondary,
                                 StatusWindowButton::notificationPausePrimary,
                                 StatusWindowButton::notificationPauseSecondary,
                                 StatusWindowButton::programsPrimary,
                                 StatusWindowButton::programsSecondary,
                                 StatusWindowButton::mutedPrimary,
                                 StatusWindowButton::mutedSecondary,
                                 StatusWindowButton::relayPrimary,
                                 StatusWindowButton::relaySecondary,
                                 phoneButton(0),
                                 phoneButton(1)};

StatusRowContent row(const std::string& title) {
  return {.symbol = "bell",
          .tint = {},
          .title = title,
          .status = "On",
          .detail = "Detail of " + title + ".",
          .primaryButton = ButtonContent{title + " primary"},
          .secondaryButton = ButtonContent{title + " secondary"}};
}

StatusWindowContent fullContent() {
  StatusWindowContent content{.title = "Quillard",
                              .headline = "All OK",
                              .detail = "All is well.",
                              .pillText = "All OK",
                              .pairingTitle = "Pairing",
                              .pairingDetail = "A phone.",
                              .pairingStatus = "Paired",
                              .placeholderSymbol = "qrcode",
                              .placeholderDescription = "No code",
                              .pairingCaption = "Scan it.",
                              .pairingActionButton = ButtonContent{"Pair"},
                              .pairAnotherButton = ButtonContent{"Pair Another Phone"},
                              .unpairPhoneButton = ButtonContent{"Unpair"}};
  content.installLocation = row("Location");
  content.accessibility = row("Accessibility");
  content.muted = row("Muted");
  content.loginItem = row("Login");
  content.update = row("Updates");
  content.notificationPause = row("Alerts");
  for (const auto* name : {"Ann", "Ben"}) {
    content.phones.push_back(row(name));
    content.phones.back().primaryButton.reset();
  }
  content.programs = row("Programs");
  content.relay = row("Relay");
  return content;
}

void settle() {
  for (int turn = 0; turn < 3; ++turn) {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

StatusWindow* shownWindow() {
  for (auto* widget : QApplication::topLevelWidgets()) {
    auto* window = dynamic_cast<StatusWindow*>(widget);
    if (window && window->isVisible()) return window;
  }
  return nullptr;
}

ActionButton* shownButton(StatusWindowButton identity) {
  for (auto* button : shownWindow()->findChildren<QPushButton*>()) {
    auto* action = dynamic_cast<ActionButton*>(button);
    if (action && action->identity == identity && action->isVisible()) return action;
  }
  return nullptr;
}

void press(QWidget* target, Qt::Key key, const QString& text = {}) {
  QKeyEvent down{QEvent::KeyPress, key, Qt::NoModifier, text};
  QApplication::sendEvent(target, &down);
  QKeyEvent up{QEvent::KeyRelease, key, Qt::NoModifier, text};
  QApplication::sendEvent(target, &up);
}

class QtStatusWindowViewTest : public testing::Test {
 protected:
  void SetUp() override {
    QApplication::setPalette(QPalette{QColor{239, 239, 239}});
    view = QtStatusWindowViews{}.makeStatusWindowView({.onButton = [this](auto button) { pressed.push_back(button); },
                                                       .onWillClose = [this] { ++closes; },
                                                       .onAppearanceChange = [this] { ++appearanceChanges; }});
  }

  void show(const StatusWindowContent& content = fullContent()) {
    view->setContent(content);
    view->fitToScreen();
    view->show();
    settle();
  }

  std::unique_ptr<StatusWindowView> view;
  std::vector<StatusWindowButton> pressed;
  int closes = 0;
  int appearanceChanges = 0;
};

TEST_F(QtStatusWindowViewTest, TellsWhichButtonWasPressed) {
  show();
  for (const auto button : kAllButtons) {
    ASSERT_TRUE(shownButton(button)) << static_cast<int>(button);
    shownButton(button)->click();
    ASSERT_FALSE(pressed.empty());
    EXPECT_EQ(pressed.back(), button);
  }
  EXPECT_EQ(pressed.size(), kAllButtons.size());
}

TEST_F(QtStatusWindowViewTest, ShowsOnlyTheButtonsThatThereAre) {
  show({.title = "Quillard", .headline = "All OK", .pillText = "All OK"});
  for (const auto button : kAllButtons) EXPECT_FALSE(shownButton(button));
}

TEST_F(QtStatusWindowViewTest, ShowsARowForEachPhoneThatThereIs) {
  show();
  ASSERT_TRUE(shownButton(phoneButton(1)));
  auto content = fullContent();
  content.phones.pop_back();
  view->setContent(content);
  settle();
  EXPECT_TRUE(shownButton(phoneButton(0)));
  EXPECT_FALSE(shownButton(phoneButton(1)));
  content.phones.assign(kMostPhoneRows + 3, content.phones.front());
  view->setContent(content);
  settle();
  EXPECT_TRUE(shownButton(phoneButton(kMostPhoneRows - 1)));
}

TEST_F(QtStatusWindowViewTest, TakesEnterAndSpaceForAPressAndLeavesDisabledButtonsAlone) {
  auto content = fullContent();
  content.pairingActionButton->isEnabled = false;
  show(content);
  auto* unpair = shownButton(StatusWindowButton::unpairPhone);
  press(unpair, Qt::Key_Return);
  press(unpair, Qt::Key_Enter);
  press(unpair, Qt::Key_Space, " ");
  EXPECT_EQ(pressed, std::vector<StatusWindowButton>(3, StatusWindowButton::unpairPhone));
  shownButton(StatusWindowButton::pairingAction)->click();
  EXPECT_EQ(pressed.size(), 3U);
}

TEST_F(QtStatusWindowViewTest, MakesWayForOtherWindowsWithoutClosing) {
  view->makeWay();
  EXPECT_FALSE(view->isVisible());
  show();
  view->makeWay();
  settle();
  EXPECT_TRUE(view->isVisible());
  EXPECT_EQ(closes, 0);
}

TEST_F(QtStatusWindowViewTest, GivesTheKeyboardToNoButtonUntilThePersonAsks) {
  show();
  EXPECT_FALSE(dynamic_cast<ActionButton*>(shownWindow()->focusWidget()));
  press(shownWindow()->focusWidget(), Qt::Key_Return);
  EXPECT_TRUE(pressed.empty());
}

TEST_F(QtStatusWindowViewTest, ReachesEveryButtonWithTheTabulatorInTheOrderOfTheWindow) {
  show();
  std::vector<StatusWindowButton> order;
  for (std::size_t i = 0; i < kAllButtons.size(); ++i) {
    press(shownWindow()->focusWidget(), Qt::Key_Tab);
    auto* button = dynamic_cast<ActionButton*>(shownWindow()->focusWidget());
    ASSERT_TRUE(button);
    order.push_back(button->identity);
  }
  EXPECT_EQ(order, std::vector<StatusWindowButton>(kAllButtons.begin(), kAllButtons.end()));
}

TEST_F(QtStatusWindowViewTest, KeepsTheKeyboardWhereItIsAcrossARefresh) {
  show();
  shownButton(StatusWindowButton::updatePrimary)->setFocus();
  auto content = fullContent();
  content.headline = "Finish setup";
  content.update.primaryButton->title = "Install";
  view->setContent(content);
  settle();
  EXPECT_EQ(shownWindow()->focusWidget(), shownButton(StatusWindowButton::updatePrimary));
}

TEST_F(QtStatusWindowViewTest, ShowsAFocusRing) {
  show();
  auto* button = shownButton(StatusWindowButton::unpairPhone);
  const QImage without = button->grab().toImage();
  button->setFocus(Qt::TabFocusReason);
  settle();
  const QImage with = button->grab().toImage();
  EXPECT_NE(without, with);
  EXPECT_EQ(with.pixelColor(with.width() / 2, 0), button->palette().color(QPalette::Link));
}

TEST_F(QtStatusWindowViewTest, TellsWhenTheUserClosesItAndNotWhenTheAgentDoes) {
  show();
  view->close();
  settle();
  EXPECT_FALSE(view->isVisible());
  EXPECT_EQ(closes, 0);
  view->show();
  settle();
  EXPECT_TRUE(view->isVisible());
  press(shownWindow()->focusWidget(), Qt::Key_Escape);
  settle();
  EXPECT_EQ(closes, 1);
  EXPECT_FALSE(view->isVisible());
  EXPECT_FALSE(shownWindow());
  view->show();
  settle();
  shownWindow()->QWidget::close();
  settle();
  EXPECT_EQ(closes, 2);
}

TEST_F(QtStatusWindowViewTest, ComesBackAsItWasAndWithTheNewestContent) {
  show();
  shownWindow()->setGeometry(120, 90, 700, 420);
  view->close();
  settle();
  auto content = fullContent();
  content.title = "Newest";
  view->setContent(content);
  view->fitToScreen();
  view->show();
  settle();
  EXPECT_EQ(shownWindow()->windowTitle(), "Newest");
  EXPECT_EQ(shownWindow()->size(), QSize(700, 420));
}

TEST_F(QtStatusWindowViewTest, MayGoWhileItIsShownOrHidden) {
  show();
  view.reset();
  settle();
  EXPECT_FALSE(shownWindow());
  SetUp();
  show();
  view->close();
  view.reset();
  settle();
}

TEST_F(QtStatusWindowViewTest, FitsTheScreenItIsOn) {
  show();
  shownWindow()->setGeometry(-300, 500, 4000, 3000);
  view->fitToScreen();
  EXPECT_TRUE(shownWindow()->screen()->availableGeometry().contains(shownWindow()->geometry()));
}

TEST_F(QtStatusWindowViewTest, ScrollsWhereTheScreenIsSmallAndFollowsTheKeyboard) {
  show();
  shownWindow()->resize(780, 300);
  settle();
  auto* bar = shownWindow()->findChild<QScrollArea*>()->verticalScrollBar();
  ASSERT_TRUE(bar->isVisible());
  EXPECT_EQ(bar->value(), 0);
  auto* last = shownButton(StatusWindowButton::notificationPauseSecondary);
  EXPECT_FALSE(last->visibleRegion().boundingRect().contains(last->rect()));
  last->setFocus(Qt::TabFocusReason);
  settle();
  EXPECT_EQ(last->visibleRegion().boundingRect(), last->rect());

  const int position = bar->value();
  auto content = fullContent();
  content.headline = "Finish setup";
  view->setContent(content);
  EXPECT_EQ(bar->value(), position);
  press(shownWindow(), Qt::Key_Home);
  EXPECT_EQ(bar->value(), 0);
  press(shownWindow(), Qt::Key_PageDown);
  EXPECT_GT(bar->value(), 0);
}

TEST_F(QtStatusWindowViewTest, HasNoScrollBarWhereEverythingFits) {
  show();
  shownWindow()->resize(960, 2000);
  settle();
  EXPECT_FALSE(shownWindow()->findChild<QScrollArea*>()->verticalScrollBar()->isVisible());
}

QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

TEST_F(QtStatusWindowViewTest, PopsUpAMenuFourPointsUnderTheButtonAndTellsTheChoiceOnce) {
  show();
  shownWindow()->setGeometry(0, 0, 780, 300);
  std::vector<std::size_t> chosen;
  auto* anchor = shownButton(StatusWindowButton::unpairPhone);
  view->popUpMenu(StatusWindowButton::unpairPhone, {{"Four & more"}, {"Never", false}, {""}, {"Resume"}},
                  [&](std::size_t index) { chosen.push_back(index); });
  settle();
  ASSERT_TRUE(openMenu());
  const QRect body = anchor->rect().adjusted(3, 3, -3, -3);
  EXPECT_EQ(openMenu()->pos(), anchor->mapToGlobal(QPoint{body.left(), body.top() + body.height() + 4}));
  ASSERT_EQ(openMenu()->actions().size(), 4);
  EXPECT_TRUE(openMenu()->actions().at(2)->isSeparator());
  EXPECT_FALSE(openMenu()->actions().at(1)->isEnabled());
  press(openMenu(), Qt::Key_Up);
  press(openMenu(), Qt::Key_Return);
  settle();
  EXPECT_EQ(chosen, std::vector<std::size_t>{3});
  EXPECT_FALSE(openMenu());
}

// As an assistive program does it, without a click.
TEST_F(QtStatusWindowViewTest, AMenuClosesWhenAnItemOfItIsTriggered) {
  show();
  int choices = 0;
  view->popUpMenu(StatusWindowButton::unpairPhone, {{"One"}}, [&](std::size_t) { ++choices; });
  settle();
  ASSERT_TRUE(openMenu());
  openMenu()->actions().at(0)->trigger();
  settle();
  EXPECT_EQ(choices, 1);
  EXPECT_FALSE(openMenu());
}

TEST_F(QtStatusWindowViewTest, TellsNothingWhenTheMenuIsDismissed) {
  show();
  int choices = 0;
  view->popUpMenu(StatusWindowButton::unpairPhone, {{"One"}}, [&](std::size_t) { ++choices; });
  settle();
  ASSERT_TRUE(openMenu());
  press(openMenu(), Qt::Key_Escape);
  settle();
  EXPECT_FALSE(openMenu());
  EXPECT_EQ(choices, 0);
  EXPECT_TRUE(view->isVisible());
}

// The field that is open.
TextField* openField() { return dynamic_cast<TextField*>(QApplication::activeModalWidget()); }

TEST_F(QtStatusWindowViewTest, AsksForATextUntilItIsOneThatCanBeTaken) {
  show();
  std::vector<std::string> taken;
  view->askForText({.title = "Relay", .explanation = "Its address.", .text = "old", .accept = "Use"},
                   [&](const std::string& text) {
                     taken.push_back(text);
                     return text == "good" ? std::nullopt : std::optional<std::string>("It is none.");
                   });
  settle();
  ASSERT_TRUE(openField());
  auto* const line = openField()->findChild<QLineEdit*>();
  EXPECT_EQ(line->text(), "old");
  EXPECT_EQ(line->accessibleName(), "Relay");
  line->setText(" bad ");
  press(openField(), Qt::Key_Return);
  settle();
  ASSERT_TRUE(openField());
  bool isSaid = false;
  for (const auto* label : openField()->findChildren<QLabel*>()) {
    isSaid = isSaid || (label->isVisible() && label->text() == "It is none.");
  }
  EXPECT_TRUE(isSaid);
  line->setText("good");
  press(openField(), Qt::Key_Return);
  settle();
  EXPECT_FALSE(openField());
  EXPECT_EQ(taken, (std::vector<std::string>{"bad", "good"}));
}

TEST_F(QtStatusWindowViewTest, ATextThatIsNotGivenIsNotTaken) {
  show();
  const auto take = [](const std::string&) -> std::optional<std::string> {
    ADD_FAILURE() << "taken";
    return std::nullopt;
  };
  view->askForText({.title = "Relay"}, take);
  settle();
  press(openField(), Qt::Key_Escape);
  settle();
  EXPECT_FALSE(openField());
  EXPECT_TRUE(view->isVisible());
  view->askForText({.title = "Relay"}, take);
  settle();
  ASSERT_TRUE(openField());
  view->close();
  settle();
  EXPECT_FALSE(openField()) << "it goes with the window";
  view->askForText({.title = "Relay"}, take);
  EXPECT_FALSE(openField()) << "nor does it come without one";
}

TEST_F(QtStatusWindowViewTest, TellsThatTheDesktopTurnedDarkAndRedrawsWhenAsked) {
  show();
  const QColor before = shownWindow()->palette().color(QPalette::Window);
  QApplication::setPalette(QPalette{QColor{40, 40, 40}});
  QEvent news{QEvent::ApplicationPaletteChange};
  QApplication::sendEvent(shownWindow(), &news);
  EXPECT_EQ(appearanceChanges, 1);
  QApplication::sendEvent(shownWindow(), &news);
  EXPECT_EQ(appearanceChanges, 1) << "Told once for each change.";
  EXPECT_EQ(shownWindow()->palette().color(QPalette::Window), before) << "Nothing changes before it is asked for.";
  view->updateAppearance();
  EXPECT_LT(shownWindow()->palette().color(QPalette::Window).lightness(), 50);
}

TEST_F(QtStatusWindowViewTest, CanBeToldAnythingWhileHidden) {
  view->updateAppearance();
  view->close();
  view->popUpMenu(StatusWindowButton::unpairPhone, {{"One"}}, {});
  EXPECT_FALSE(view->isVisible());
  EXPECT_EQ(closes, 0);
}

int heightOfPage() {
  for (auto* widget : shownWindow()->findChildren<QWidget*>()) {
    if (const auto* page = dynamic_cast<StatusPage*>(widget)) return page->heightForWidth(400);
  }
  return 0;
}

TEST_F(QtStatusWindowViewTest, ShowsTheRowOfProgramsOnlyWhileThereIsSomethingToSay) {
  auto content = fullContent();
  content.programs.reset();
  show(content);
  EXPECT_FALSE(shownButton(StatusWindowButton::programsPrimary));
  const int without = heightOfPage();
  view->setContent(fullContent());
  settle();
  EXPECT_TRUE(shownButton(StatusWindowButton::programsPrimary));
  EXPECT_GT(heightOfPage(), without);
  view->setContent(content);
  settle();
  EXPECT_FALSE(shownButton(StatusWindowButton::programsPrimary));
  EXPECT_EQ(heightOfPage(), without);
}

}  // namespace
}  // namespace quillard::qt
