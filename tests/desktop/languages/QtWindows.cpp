#include <functional>
#include <map>
#include <string>

#include <QtCore/QLibraryInfo>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QErrorMessage>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFontDialog>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWizard>

// Shows one window of Qt's own, in the language that it is started in: `translated_qt KIND`. Buttons and texts are
// messages of Qt's catalogue.
namespace {

QString translated(const char* message) { return QCoreApplication::translate("QFileDialog", message); }

void question(const QString& text, QMessageBox::StandardButtons buttons) {
  auto* const box = new QMessageBox(QMessageBox::Question, "Beispiel", text, buttons);
  box->show();
}

QString deleteText() { return translated("Are you sure you want to delete '%1'?").arg("Brief.odt"); }
QString replaceText() { return translated("%1 already exists.\nDo you want to replace it?").arg("Brief.odt"); }

void input(QInputDialog::InputMode mode, QLineEdit::EchoMode echo, bool hasItems) {
  auto* const dialog = new QInputDialog;
  dialog->setInputMode(mode);
  dialog->setTextEchoMode(echo);
  dialog->setLabelText(translated("File name:"));
  if (hasItems) dialog->setComboBoxItems({"a", "b", "c"});
  dialog->show();
}

void files(QFileDialog::AcceptMode accept, QFileDialog::FileMode mode) {
  auto* const dialog = new QFileDialog;
  dialog->setOption(QFileDialog::DontUseNativeDialog);
  dialog->setAcceptMode(accept);
  dialog->setFileMode(mode);
  dialog->show();
}

void form(QDialogButtonBox::StandardButtons buttons) {
  auto* const dialog = new QDialog;
  dialog->setWindowTitle("Beispiel");
  auto* const layout = new QVBoxLayout(dialog);
  layout->addWidget(new QLabel(translated("File name:")));
  layout->addWidget(new QLineEdit);
  layout->addWidget(new QCheckBox(translated("Date Modified")));
  layout->addWidget(new QDialogButtonBox(buttons));
  dialog->show();
}

void progress() {
  auto* const dialog = new QProgressDialog;
  dialog->setLabelText(translated("File name:"));
  dialog->setMinimumDuration(0);
  dialog->setValue(40);
  dialog->show();
}

void wizard() {
  auto* const window = new QWizard;
  for (int i = 0; i < 3; ++i) window->addPage(new QWizardPage);
  window->show();
}

const std::map<std::string, std::function<void()>>& kinds() {
  using Box = QMessageBox;
  using Buttons = QDialogButtonBox;
  static const std::map<std::string, std::function<void()>> all{
      {"delete", [] { question(deleteText(), Box::Yes | Box::No); }},
      {"replace", [] { question(replaceText(), Box::Yes | Box::No); }},
      {"unsaved", [] { question(replaceText(), Box::Save | Box::Discard | Box::Cancel); }},
      {"ok-cancel", [] { question(deleteText(), Box::Ok | Box::Cancel); }},
      {"all", [] { question(deleteText(), Box::Yes | Box::YesToAll | Box::No | Box::NoToAll | Box::Cancel); }},
      {"password", [] { input(QInputDialog::TextInput, QLineEdit::Password, false); }},
      {"text", [] { input(QInputDialog::TextInput, QLineEdit::Normal, false); }},
      {"number", [] { input(QInputDialog::IntInput, QLineEdit::Normal, false); }},
      {"item", [] { input(QInputDialog::TextInput, QLineEdit::Normal, true); }},
      {"open", [] { files(QFileDialog::AcceptOpen, QFileDialog::ExistingFile); }},
      {"save", [] { files(QFileDialog::AcceptSave, QFileDialog::AnyFile); }},
      {"folder", [] { files(QFileDialog::AcceptOpen, QFileDialog::Directory); }},
      {"color", [] { (new QColorDialog)->show(); }},
      {"font", [] { (new QFontDialog)->show(); }},
      {"progress", progress},
      {"error", [] { (new QErrorMessage)->showMessage(replaceText()); }},
      {"wizard", wizard},
      {"settings", [] { form(Buttons::Ok | Buttons::Cancel | Buttons::Apply | Buttons::RestoreDefaults); }},
      {"form", [] { form(Buttons::Ok | Buttons::Cancel); }},
      {"tool", [] { form(Buttons::Close | Buttons::Help); }},
      {"about", [] { QMessageBox::aboutQt(nullptr); }}};
  return all;
}

}  // namespace

int main(int count, char** arguments) {
  const QApplication application(count, arguments);
  QTranslator translator;
  const bool isLoaded =
      translator.load(QLocale::system(), "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath));
  if (isLoaded) QCoreApplication::installTranslator(&translator);
  const auto kind = count > 1 ? kinds().find(arguments[1]) : kinds().end();
  if (kind == kinds().end()) return 2;
  kind->second();
  return QApplication::exec();
}
