#include <cstdio>

#include <QtCore/QCommandLineParser>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWidget>

// Shows a prompt with Qt, says "ready" once it can be seen, and then the label of the button that was pressed.
namespace {

void say(const QString& text) {
  std::printf("%s\n", text.toUtf8().constData());
  std::fflush(stdout);
}

// A window of no special kind, which only its X window calls a dialog.
QWidget* plainWindow(const QString& title, Qt::WindowFlags flags) {
  auto* const window = new QWidget(nullptr, flags);
  window->setWindowTitle(title);
  auto* const layout = new QVBoxLayout(window);
  for (const char* label : {"Don't Allow", "Allow"}) {
    auto* const button = new QPushButton(QString::fromUtf8(label), window);
    layout->addWidget(button);
    QObject::connect(button, &QPushButton::clicked, [button] {
      say(button->text());
      QApplication::quit();
    });
  }
  return window;
}

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QCommandLineParser options;
  options.addOptions({{"title", "", "title"},
                      {"text", "", "text"},
                      {"secondary", "", "text"},
                      {"kind", "box, keep, sheet or plain", "kind", "box"},
                      {"password", ""}});
  options.process(application);
  const QString kind = options.value("kind");
  QApplication::setQuitOnLastWindowClosed(false);
  if (kind == "plain") {
    plainWindow(options.value("title"), Qt::Dialog)->show();
    QTimer::singleShot(0, [] { say("ready"); });
    return QApplication::exec();
  }

  QMainWindow owner;
  if (kind == "sheet") {
    owner.setWindowTitle("Owner");
    owner.resize(600, 400);
    owner.show();
  }
  QMessageBox box(QMessageBox::Question, options.value("title"), options.value("text"), QMessageBox::NoButton,
                  kind == "sheet" ? &owner : nullptr);
  box.setInformativeText(options.value("secondary"));
  box.setDefaultButton(box.addButton("Allow", QMessageBox::AcceptRole));
  box.addButton("Don't Allow", QMessageBox::RejectRole);
  if (options.isSet("password")) {
    auto* const field = new QLineEdit("planted-secret", &box);
    field->setEchoMode(QLineEdit::Password);
    box.layout()->addWidget(field);
  }
  QObject::connect(&box, &QMessageBox::finished, [&] {
    say(box.clickedButton() ? box.clickedButton()->text() : QString("closed"));
    if (kind != "keep") QApplication::quit();  // Kept, hidden, as programs do that use it again.
  });
  box.open();
  QTimer::singleShot(0, [] { say("ready"); });
  return QApplication::exec();
}
