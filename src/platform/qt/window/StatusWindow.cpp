#include "platform/qt/window/StatusWindow.h"

#include <algorithm>

#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QApplication>

#include "platform/qt/window/BrandIcon.h"
#include "platform/qt/window/PopUpMenu.h"
#include "platform/qt/window/SlimScrollBar.h"
#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr int kFocusMargin = 40;
constexpr QSize kSmallestWindow{StatusPage::kLeastWidth, 240};

// What a window manager puts around a window that is not on screen yet.
constexpr QMargins kExpectedFrame{2, 34, 2, 4};

}  // namespace

StatusWindow::StatusWindow(StatusWindowEvents events, ColorScheme scheme)
    : events(std::move(events)), scheme(scheme), scrollView(new QScrollArea(this)), page(new StatusPage(nullptr)) {
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowIcon(brandIcon());
  setMinimumSize(kSmallestWindow);
  scrollView->setFrameShape(QFrame::NoFrame);
  scrollView->setFocusPolicy(Qt::NoFocus);
  scrollView->setVerticalScrollBar(new SlimScrollBar(Qt::Vertical));
  scrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scrollView->setWidget(page);
  page->setFocusPolicy(Qt::ClickFocus);  // A place for the keyboard before a button has it.
  connectButtons();
  keepFocusInView();
  updateAppearance();
}

void StatusWindow::connectButtons() {
  for (auto* button : page->findChildren<QPushButton*>()) {
    auto* action = dynamic_cast<ActionButton*>(button);
    if (!action) continue;
    connect(action, &QPushButton::clicked, this, [this, identity = action->identity] {
      if (events.onButton) events.onButton(identity);
    });
  }
}

void StatusWindow::keepFocusInView() {
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget* /*old*/, QWidget* now) {
    if (now && now != page && page->isAncestorOf(now)) scrollView->ensureWidgetVisible(now, 0, kFocusMargin);
  });
}

void StatusWindow::setContent(const StatusWindowContent& content) {
  setWindowTitle(QString::fromStdString(content.title));
  const int position = scrollView->verticalScrollBar()->value();
  page->setContent(content);
  layOut();
  scrollView->verticalScrollBar()->setValue(position);
}

QRect StatusWindow::screenRoom() const {
  const QMargins frame{
      frameGeometry().left() < geometry().left()
          ? QMargins{geometry().left() - frameGeometry().left(), geometry().top() - frameGeometry().top(),
                     frameGeometry().right() - geometry().right(), frameGeometry().bottom() - geometry().bottom()}
          : kExpectedFrame};
  return screen()->availableGeometry().marginsRemoved(frame);
}

void StatusWindow::takeComfortableSize() {
  const QSize wanted = page->sizeFor(screenRoom().size()).boundedTo(screenRoom().size()).expandedTo(minimumSize());
  QRect rect{{0, 0}, wanted};
  rect.moveCenter(screenRoom().center());
  setGeometry(rect);
}

void StatusWindow::fitToScreen() {
  if (isMaximized() || isFullScreen()) return;
  const QRect room = screenRoom();
  QRect rect = geometry();
  rect.setSize(rect.size().boundedTo(room.size()).expandedTo(minimumSize()));
  rect.moveLeft(std::clamp(rect.left(), room.left(), std::max(room.left(), room.right() + 1 - rect.width())));
  rect.moveTop(std::clamp(rect.top(), room.top(), std::max(room.top(), room.bottom() + 1 - rect.height())));
  if (rect != geometry()) setGeometry(rect);
}

void StatusWindow::comeToFront() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  setVisible(true);
  raise();
  activateWindow();
  // Not on a button: Enter must press none before a person has chosen one.
  if (!focusWidget()) page->setFocus();
}

void StatusWindow::makeWay() {
  if (!QGuiApplication::platformName().startsWith("wayland")) return lower();
  // Sway minimises nothing. Its variable may be left over from another session.
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
  const bool isSway = desktops.isEmpty() || desktops.split(':').contains(QStringLiteral("sway"));
  if (isSway && !qEnvironmentVariableIsEmpty("SWAYSOCK")) {
    close();
  } else {
    showMinimized();
  }
}

void StatusWindow::updateAppearance() {
  knownPalette = windowPalette(QApplication::palette(), scheme);
  knownFont = QApplication::font();
  setPalette(knownPalette);
  page->updateAppearance();
  if (field) field->updateAppearance();
  layOut();
}

void StatusWindow::noticeAppearance() {
  const QPalette palette = windowPalette(QApplication::palette(), scheme);
  const bool isKnown = palette == knownPalette && QApplication::font() == knownFont;
  if (isKnown || !events.onAppearanceChange) return;
  knownPalette = palette;
  knownFont = QApplication::font();
  events.onAppearanceChange();
}

void StatusWindow::setColorScheme(ColorScheme chosen) {
  scheme = chosen;
  noticeAppearance();
}

void StatusWindow::popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                             const std::function<void(std::size_t)>& onChoice) {
  if (auto* anchor = buttonFor(button)) qt::popUpMenu(*anchor, items, onChoice);
}

void StatusWindow::askForText(const TextQuestion& question, TakeText take) {
  delete field;
  field = new TextField(this, question, std::move(take));
  field->open();
}

ActionButton* StatusWindow::buttonFor(StatusWindowButton identity) const {
  for (auto* button : page->findChildren<QPushButton*>()) {
    auto* action = dynamic_cast<ActionButton*>(button);
    if (action && action->identity == identity) return action;
  }
  return nullptr;
}

bool StatusWindow::event(QEvent* event) {
  const bool isHandled = QWidget::event(event);
  switch (event->type()) {
    case QEvent::ApplicationPaletteChange:
    case QEvent::PaletteChange:
    case QEvent::ApplicationFontChange:
    case QEvent::FontChange:
      noticeAppearance();
      break;
    default:
      break;
  }
  return isHandled;
}

void StatusWindow::resizeEvent(QResizeEvent* /*event*/) { layOut(); }

// The page is as wide as the window, or leaves room for the scroll bar if, at that width, it is too long.
void StatusWindow::layOut() {
  const bool fits = page->heightForWidth(width()) <= height();
  const int pageWidth = fits ? width() : width() - scrollView->verticalScrollBar()->sizeHint().width();
  scrollView->setVerticalScrollBarPolicy(fits ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAlwaysOn);
  scrollView->setGeometry(rect());
  page->resize(pageWidth, std::max(height(), page->heightForWidth(pageWidth)));
}

void StatusWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (events.onWillClose) events.onWillClose();
}

void StatusWindow::keyPressEvent(QKeyEvent* event) {
  auto* bar = scrollView->verticalScrollBar();
  const bool isClosing = event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close);
  if (isClosing) {
    QWidget::close();
  } else if (event->key() == Qt::Key_PageDown) {
    bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
  } else if (event->key() == Qt::Key_PageUp) {
    bar->triggerAction(QAbstractSlider::SliderPageStepSub);
  } else if (event->key() == Qt::Key_Down) {
    bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  } else if (event->key() == Qt::Key_Up) {
    bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
  } else if (event->key() == Qt::Key_Home) {
    bar->triggerAction(QAbstractSlider::SliderToMinimum);
  } else if (event->key() == Qt::Key_End) {
    bar->triggerAction(QAbstractSlider::SliderToMaximum);
  } else {
    QWidget::keyPressEvent(event);
  }
}

}  // namespace quillard::qt
