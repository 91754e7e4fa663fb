// A window of any kind with Qt. See private-desktop/samples/README.md.

#include <chrono>
#include <csignal>
#include <iostream>
#include <utility>

#include <QtCore/QTimer>
#include <QtGui/QAccessible>
#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QAccessibleWidget>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QVBoxLayout>

#include "private-desktop/samples/SampleOptions.h"
#include "private-desktop/samples/SampleOutcome.h"
#include "private-desktop/samples/WindowPlacing.h"

namespace quillard::samples {
namespace {

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

// A part that tells accessibility it is something else: the widget's property says what.
constexpr const char* kRoleProperty = "sampleRole";
constexpr std::size_t kMostShown = 1000;  // Bytes; longer texts are not given the room that they want.
constexpr std::chrono::milliseconds kPlaceCheckInterval{50};
constexpr std::chrono::milliseconds kCloseCheckInterval{50};

QAccessibleInterface* accessibleWithRole(const QString&, QObject* object) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (!widget || !widget->property(kRoleProperty).isValid()) return nullptr;
  return new QAccessibleWidget(widget, static_cast<QAccessible::Role>(widget->property(kRoleProperty).toInt()));
}

void setRole(QWidget* widget, QAccessible::Role role) { widget->setProperty(kRoleProperty, static_cast<int>(role)); }

// A message box that leaves it to others when it goes.
class LastingMessageBox : public QMessageBox {
 public:
  void done(int) override {}

 protected:
  void keyPressEvent(QKeyEvent* event) override { event->ignore(); }
};

// Owned by the widget, which is laid out by it from now on.
QVBoxLayout* makeColumn(QWidget* owner) {
  owner->setLayout(new QVBoxLayout);
  return static_cast<QVBoxLayout*>(owner->layout());
}

class QtPrompt : public QObject {
 public:
  // `prompts` outlives the prompt.
  QtPrompt(const SampleOptions& options, OpenPrompts& prompts) : options(options), outcome(options), prompts(prompts) {}
  ~QtPrompt() override {
    delete window;
    delete parentWindow;
  }
  void start();

 private:
  QWidget* makeWindow();
  void fillMessageBox(QMessageBox& made);
  void fill(QVBoxLayout& area);
  void addFields(QVBoxLayout& area);
  void addHidden(QVBoxLayout& area);
  void addWindowPrompt(QVBoxLayout& area);
  void addButtons(QVBoxLayout& area);
  QPushButton* makeButton(const std::string& label, int index);
  void addBelow(QGridLayout& grid);
  void show();
  void pressed(int index, const std::string& label);
  void settle();
  void keepPlace();
  void close(int exitCode);
  void fallSilent();
  void hideWindow();
  // Ends the program once a SIGUSR1 has asked for it.
  void closeWhenAsked();
  template <typename Action>
  void after(std::chrono::milliseconds time, const Action& action) {
    auto* const timer = new QTimer(this);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, action);
    connect(timer, &QTimer::timeout, timer, &QObject::deleteLater);
    timer->start(time);
  }
  void succeed();
  bool eventFilter(QObject* watched, QEvent* event) override;

  SampleOptions options;
  SampleOutcome outcome;
  OpenPrompts& prompts;
  QWidget* parentWindow = nullptr;
  QWidget* window = nullptr;
  bool isSettled = false;
  WindowPlacing placing;
};

XWindow xWindowOf(const QWidget* window) { return static_cast<XWindow>(window->winId()); }

QWidget* QtPrompt::makeWindow() {
  switch (options.kind) {
    case Kind::messageBox: {
      auto* const made = new LastingMessageBox;
      fillMessageBox(*made);
      return made;
    }
    case Kind::dialog:
      return new QDialog;
    case Kind::fileChooser: {
      auto* const made = new QFileDialog;
      made->setOption(QFileDialog::DontUseNativeDialog);
      return made;
    }
    default:
      break;
  }
  auto* const made = new QWidget;
  made->setWindowFlags(options.hasDialogType ? Qt::Dialog : Qt::Window);
  setRole(made, options.kind == Kind::filler ? QAccessible::Client : QAccessible::Window);
  return made;
}

void QtPrompt::fillMessageBox(QMessageBox& made) {
  made.setIcon(QMessageBox::Question);
  if (!options.texts.empty()) made.setText(text(options.texts.front()));
  QStringList rest;
  for (std::size_t i = 1; i < options.texts.size(); ++i) rest << text(options.texts[i]);
  made.setInformativeText(rest.join('\n'));
  for (std::size_t i = 0; i < options.buttons.size(); ++i) {
    auto* const button = makeButton(options.buttons[i], static_cast<int>(i));
    made.addButton(button, QMessageBox::ActionRole);
    if (static_cast<int>(i) == options.defaultButton) made.setDefaultButton(button);
  }
}

void QtPrompt::addFields(QVBoxLayout& area) {
  if (options.passwordLabel) area.addWidget(new QLabel(text(*options.passwordLabel)));
  if (options.passwordLabel || options.hasSecret) {
    auto* const secret = new QLineEdit;
    secret->setEchoMode(QLineEdit::Password);
    secret->setText(text(options.secretText));
    area.addWidget(secret);
  }
  if (options.fieldLabel) {
    area.addWidget(new QLabel(text(*options.fieldLabel)));
    area.addWidget(new QLineEdit);
  }
}

void QtPrompt::addHidden(QVBoxLayout& area) {
  for (const auto& line : options.hiddenTexts) {
    auto* const label = new QLabel(text(line));
    area.addWidget(label);
    label->hide();
  }
  for (const auto& line : options.hiddenButtons) {
    auto* const button = makeButton(line, -1);
    area.addWidget(button);
    button->hide();
  }
  for (const auto& line : options.zeroSizeTexts) {
    auto* const label = new QLabel(text(line));
    label->setFixedSize(0, 0);
    area.addWidget(label);
  }
}

// A label; of a text that no screen has room for, the beginning is to be seen.
QLabel* makeText(const std::string& line) {
  auto* const label = new QLabel(text(line));
  if (line.size() <= kMostShown) return label;
  label->setTextFormat(Qt::PlainText);
  label->setMinimumWidth(400);
  label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  return label;
}

// The page that a browser shows, its prompt, and another prompt that is there but empty.
void QtPrompt::addWindowPrompt(QVBoxLayout& area) {
  area.addWidget(new QLabel("The page behind the prompt"));
  auto* const empty = new QWidget;
  setRole(empty, QAccessible::AlertMessage);
  area.addWidget(empty);
  auto* const prompt = new QWidget;
  setRole(prompt, options.isPromptDialog ? QAccessible::Dialog : QAccessible::AlertMessage);
  prompt->setAccessibleName(text(options.promptTitle));
  auto* const inside = new QVBoxLayout(prompt);
  for (const auto& line : options.texts) inside->addWidget(makeText(line));
  addFields(*inside);
  addButtons(*inside);
  area.addWidget(prompt);
}

QWidget* makeToolbar() {
  auto* const toolbar = new QToolBar;
  for (const char* name : {"Back", "Forward"}) toolbar->addAction(name);
  return toolbar;
}

QWidget* makeTabs() {
  auto* const tabs = new QTabWidget;
  for (const char* name : {"General", "Advanced"}) {
    auto* const page = new QWidget;
    auto* const inside = new QVBoxLayout(page);
    inside->addWidget(new QCheckBox("Show hints"));
    inside->addWidget(new QCheckBox("Keep a history"));
    tabs->addTab(page, name);
  }
  return tabs;
}

QWidget* makeWidgets(int count) {
  auto* const scrolled = new QScrollArea;
  auto* const flat = new QWidget;
  auto* const inside = new QVBoxLayout(flat);
  for (int i = 0; i < count; ++i) inside->addWidget(new QLabel("Item " + QString::number(i)));
  scrolled->setWidget(flat);
  return scrolled;
}

void QtPrompt::fill(QVBoxLayout& area) {
  if (options.hasToolbar) area.addWidget(makeToolbar());
  if (options.hasTabs || options.kind == Kind::preferences) area.addWidget(makeTabs());
  if (options.widgets > 0) area.addWidget(makeWidgets(options.widgets));
  if (options.kind == Kind::windowPrompt) {
    addWindowPrompt(area);
  } else {
    for (const auto& line : options.texts) area.addWidget(makeText(line));
    addFields(area);
  }
  addHidden(area);
  if (options.kind != Kind::windowPrompt) addButtons(area);
}

QPushButton* QtPrompt::makeButton(const std::string& label, int index) {
  auto* const button = new QPushButton(text(label));
  if (label.size() > kMostShown) button->setMaximumWidth(100);
  button->setAutoDefault(false);
  button->setEnabled(index < 0 || index != options.disabledButton);
  connect(button, &QPushButton::clicked, this, [this, label, index] { pressed(index, label); });
  return button;
}

void QtPrompt::addButtons(QVBoxLayout& area) {
  auto* const row = new QHBoxLayout;
  for (std::size_t i = 0; i < options.buttons.size(); ++i) {
    auto* const button = makeButton(options.buttons[i], static_cast<int>(i));
    button->setDefault(static_cast<int>(i) == options.defaultButton);
    row->addWidget(button);
  }
  area.addLayout(row);
}

void QtPrompt::addBelow(QGridLayout& grid) {
  auto* const extra = new QWidget(window);
  QVBoxLayout* const area = makeColumn(extra);
  addFields(*area);
  addHidden(*area);
  if (options.kind == Kind::fileChooser) addButtons(*area);
  extra->setVisible(area->count() > 0);
  grid.addWidget(extra, grid.rowCount(), 0, 1, grid.columnCount());
}

void QtPrompt::show() {
  window = makeWindow();
  if (auto* const grid = qobject_cast<QGridLayout*>(window->layout())) {  // Of the toolkit's own making.
    addBelow(*grid);
  } else {
    QVBoxLayout* const area = makeColumn(window);
    fill(*area);
  }
  window->setWindowTitle(text(options.title));
  window->installEventFilter(this);
  if (parentWindow) {
    window->winId();
    parentWindow->winId();
    window->windowHandle()->setTransientParent(parentWindow->windowHandle());
  }
  if (options.isModal) window->setWindowModality(Qt::ApplicationModal);
  window->show();
}

bool QtPrompt::eventFilter(QObject* watched, QEvent* event) {
  if (watched != window) return false;
  if (event->type() == QEvent::Close) {
    close(kClosedWithoutAButton);
  } else if (event->type() == QEvent::Paint && !isSettled) {  // Painted once the X server has shown it.
    isSettled = true;
    placing.start();
    after(std::chrono::milliseconds(0), [this] { settle(); });
  }
  return false;
}

void QtPrompt::settle() {
  if (!window) return;
  if (options.at && !placing.staysAt(*options.at, xWindowOf(window))) {
    after(std::chrono::milliseconds(5), [this] { settle(); });
    return;
  }
  if (options.isMinimised) window->showMinimized();
  options.isMinimised = false;
  outcome.windowIsUp();
  if (options.at) keepPlace();
}

void QtPrompt::keepPlace() {
  if (!window) return;
  placing.keepAt(*options.at, xWindowOf(window));
  after(kPlaceCheckInterval, [this] { keepPlace(); });
}

// A button that is none of the choices only leaves its line of output.
void QtPrompt::pressed(int index, const std::string& label) {
  const auto next = outcome.press(label);
  if (index < 0) return;
  if (next == SampleOutcome::Next::isSucceeded) return succeed();
  if (next == SampleOutcome::Next::fallsSilent) return fallSilent();
  if (next == SampleOutcome::Next::ends) close(kFirstButton + index);
}

void QtPrompt::close(int exitCode) {
  if (window && prompts.closeOne(exitCode)) hideWindow();
}

// The window is off the screen by then, and what pressed the button has its answer.
void QtPrompt::fallSilent() {
  hideWindow();
  QGuiApplication::sync();
  after(std::chrono::milliseconds(0), [] { hang(); });
}

void QtPrompt::hideWindow() {
  QWidget* const old = std::exchange(window, nullptr);
  old->hide();
  old->deleteLater();
}

void QtPrompt::succeed() {
  QWidget* const old = window;
  const auto place = options.at.value_or(placing.placeOf(xWindowOf(old)));
  options = options.successor();
  options.at = place;
  isSettled = false;
  show();
  old->hide();
  old->deleteLater();
}

// A handler of signals may do next to nothing: it leaves word, and the loop finds it.
volatile std::sig_atomic_t closeIsWanted = 0;

void QtPrompt::closeWhenAsked() {
  if (closeIsWanted != 0) return QCoreApplication::exit(kClosedWithoutAButton);
  after(kCloseCheckInterval, [this] { closeWhenAsked(); });
}

void QtPrompt::start() {
  if (options.parent) {
    parentWindow = new QMainWindow;
    parentWindow->setWindowTitle(text(*options.parent));
    parentWindow->resize(500, 400);
    static_cast<QMainWindow*>(parentWindow)->setCentralWidget(new QLabel("The document"));
    parentWindow->show();
  }
  const auto closeAfter = options.closeAfter;
  const auto hangAfter = options.hangAfter;
  prompts.add();
  if (options.promptAfter) {
    after(*options.promptAfter, [this] { show(); });
  } else {
    show();
  }
  closeWhenAsked();
  if (closeAfter) after(*closeAfter, [] { QCoreApplication::exit(kClosedWithoutAButton); });
  if (hangAfter) after(*hangAfter, [] { hang(); });
}

}  // namespace
}  // namespace quillard::samples

// Qt's list of files asks itself for rows that it does not have, and says so: not what is tested here.
void printMessage(QtMsgType, const QMessageLogContext&, const QString& message) {
  if (!message.startsWith("QAccessibleTable::child")) std::cerr << message.toStdString() << std::endl;
}

int main(int argc, char** argv) {
  using namespace quillard::samples;
  const auto options = parseSampleOptions(argc, argv);
  if (options.applicationName) ::setenv("RESOURCE_NAME", options.applicationName->c_str(), 1);
  int count = 1;  // The rest is not for Qt.
  QApplication application(count, argv);
  if (options.applicationName) {
    QCoreApplication::setApplicationName(text(*options.applicationName));
  }
  qInstallMessageHandler(&printMessage);
  QAccessible::installFactory(&accessibleWithRole);
  QApplication::setQuitOnLastWindowClosed(false);
  std::signal(SIGUSR1, [](int) { closeIsWanted = 1; });
  OpenPrompts prompts([](int exitCode) { QCoreApplication::exit(exitCode); });
  QtPrompt first(options, prompts);
  first.start();
  QtPrompt second(options.twin(), prompts);
  if (options.hasTwin) second.start();
  return QCoreApplication::exec();
}
