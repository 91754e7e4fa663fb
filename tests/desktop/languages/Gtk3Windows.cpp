#include <functional>
#include <map>
#include <string>

#include <gtk/gtk.h>

// Shows one window of GTK 3's own, in the language that it is started in: `translated_gtk3 KIND`. Texts and labels are
// messages of GTK's catalogue, or come from GTK itself.
namespace {

const char* translated(const char* message) { return g_dgettext("gtk30", message); }

std::string withName(const char* message) {
  char* const text = g_strdup_printf(g_dgettext("gtk30", message), "Brief.odt");
  std::string copy(text);
  g_free(text);
  return copy;
}

void show(GtkWidget* window) { gtk_widget_show_all(window); }

GtkWidget* messageDialog(GtkMessageType type, GtkButtonsType buttons, const std::string& text) {
  return gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, type, buttons, "%s", text.c_str());
}

void deleteQuestion() {
  GtkWidget* const dialog = messageDialog(GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE,
                                          withName("Are you sure you want to permanently delete “%s”?"));
  gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s",
                                           translated("If you delete an item, it will be permanently lost."));
  gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Cancel"), GTK_RESPONSE_CANCEL);
  gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Delete"), GTK_RESPONSE_ACCEPT);
  show(dialog);
}

void replaceQuestion() {
  GtkWidget* const dialog = messageDialog(GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE,
                                          withName("A file named “%s” already exists.  Do you want to replace it?"));
  gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Cancel"), GTK_RESPONSE_CANCEL);
  gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Replace"), GTK_RESPONSE_ACCEPT);
  show(dialog);
}

void stockQuestion(GtkButtonsType buttons) {
  show(messageDialog(GTK_MESSAGE_QUESTION, buttons, withName("Are you sure you want to permanently delete “%s”?")));
}

// The real dialog of a network folder.
void password() {
  GMountOperation* const operation = gtk_mount_operation_new(nullptr);
  g_signal_emit_by_name(operation, "ask-password", "Server 1", "user", "domain",
                        static_cast<GAskPasswordFlags>(G_ASK_PASSWORD_NEED_PASSWORD | G_ASK_PASSWORD_NEED_USERNAME));
}

void about() {
  GtkWidget* const dialog = gtk_about_dialog_new();
  gtk_about_dialog_set_program_name(GTK_ABOUT_DIALOG(dialog), "Beispiel");
  gtk_about_dialog_set_license_type(GTK_ABOUT_DIALOG(dialog), GTK_LICENSE_GPL_3_0);
  const char* authors[] = {"A. Author", nullptr};
  gtk_about_dialog_set_authors(GTK_ABOUT_DIALOG(dialog), authors);
  show(dialog);
}

void chooser(GtkFileChooserAction action, const char* accept) {
  show(gtk_file_chooser_dialog_new(nullptr, nullptr, action, translated("_Cancel"), GTK_RESPONSE_CANCEL,
                                   translated(accept), GTK_RESPONSE_ACCEPT, nullptr));
}

void recent() {
  show(gtk_recent_chooser_dialog_new(nullptr, nullptr, translated("_Cancel"), GTK_RESPONSE_CANCEL, translated("_Open"),
                                     GTK_RESPONSE_ACCEPT, nullptr));
}

void find() {
  GtkWidget* const dialog =
      gtk_dialog_new_with_buttons(translated("Find"), nullptr, GTK_DIALOG_MODAL, translated("_Close"),
                                  GTK_RESPONSE_CLOSE, translated("_Find"), GTK_RESPONSE_ACCEPT, nullptr);
  GtkWidget* const content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
  gtk_container_add(GTK_CONTAINER(content), gtk_entry_new());
  gtk_container_add(GTK_CONTAINER(content), gtk_check_button_new_with_label(translated("Text")));
  show(dialog);
}

void preferences() {
  GtkWidget* const dialog = gtk_dialog_new_with_buttons(translated("_Preferences"), nullptr, GTK_DIALOG_MODAL,
                                                        translated("_Close"), GTK_RESPONSE_CLOSE, nullptr);
  GtkWidget* const content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
  for (const char* name : {"Name", "Size", "Type"}) {
    gtk_container_add(GTK_CONTAINER(content), gtk_check_button_new_with_label(translated(name)));
  }
  show(dialog);
}

void properties() {
  GtkWidget* const dialog = gtk_dialog_new_with_buttons(
      translated("_Properties"), nullptr, GTK_DIALOG_MODAL, translated("_Apply"), GTK_RESPONSE_APPLY,
      translated("_Cancel"), GTK_RESPONSE_CANCEL, translated("_OK"), GTK_RESPONSE_OK, nullptr);
  GtkWidget* const content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
  for (const char* name : {"Name", "Size"}) {
    gtk_container_add(GTK_CONTAINER(content), gtk_label_new(translated(name)));
    gtk_container_add(GTK_CONTAINER(content), gtk_entry_new());
  }
  show(dialog);
}

void assistant() {
  GtkWidget* const window = gtk_assistant_new();
  for (const char* name : {"Name", "Size", "Type"}) {
    GtkWidget* const page = gtk_label_new(translated(name));
    gtk_assistant_append_page(GTK_ASSISTANT(window), page);
    gtk_assistant_set_page_title(GTK_ASSISTANT(window), page, translated(name));
    gtk_assistant_set_page_complete(GTK_ASSISTANT(window), page, TRUE);
  }
  show(window);
}

const std::map<std::string, std::function<void()>>& kinds() {
  static const std::map<std::string, std::function<void()>> all{
      {"delete", deleteQuestion},
      {"replace", replaceQuestion},
      {"yes-no", [] { stockQuestion(GTK_BUTTONS_YES_NO); }},
      {"ok-cancel", [] { stockQuestion(GTK_BUTTONS_OK_CANCEL); }},
      {"password", password},
      {"about", about},
      {"open", [] { chooser(GTK_FILE_CHOOSER_ACTION_OPEN, "_Open"); }},
      {"save", [] { chooser(GTK_FILE_CHOOSER_ACTION_SAVE, "_Save"); }},
      {"folder", [] { chooser(GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, "_Open"); }},
      {"color", [] { show(gtk_color_chooser_dialog_new(nullptr, nullptr)); }},
      {"font", [] { show(gtk_font_chooser_dialog_new(nullptr, nullptr)); }},
      {"application",
       [] { show(gtk_app_chooser_dialog_new_for_content_type(nullptr, GTK_DIALOG_MODAL, "text/plain")); }},
      {"recent", recent},
      {"find", find},
      {"preferences", preferences},
      {"properties", properties},
      {"assistant", assistant}};
  return all;
}

}  // namespace

int main(int count, char** arguments) {
  gtk_init(&count, &arguments);
  const auto kind = count > 1 ? kinds().find(arguments[1]) : kinds().end();
  if (kind == kinds().end()) return 2;
  kind->second();
  gtk_main();
  return 0;
}
