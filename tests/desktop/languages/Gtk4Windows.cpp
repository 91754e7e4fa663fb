#include <functional>
#include <map>
#include <string>

#include <gtk/gtk.h>

// Shows one window of GTK 4's own, in the language that it is started in: `translated_gtk4 KIND`.
namespace {

const char* translated(const char* message) { return g_dgettext("gtk40", message); }

void show(GtkWidget* window) { gtk_window_present(GTK_WINDOW(window)); }

// GTK 4 keeps its message dialogs until there is a better one.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

void question(GtkButtonsType buttons, bool hasDelete) {
  GtkWidget* const dialog =
      gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION, buttons,
                             translated("Are you sure you want to permanently delete “%s”?"), "Brief.odt");
  if (hasDelete) {
    gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Cancel"), GTK_RESPONSE_CANCEL);
    gtk_dialog_add_button(GTK_DIALOG(dialog), translated("_Delete"), GTK_RESPONSE_ACCEPT);
  }
  show(dialog);
}

void open() {
  show(gtk_file_chooser_dialog_new("", nullptr, GTK_FILE_CHOOSER_ACTION_OPEN, translated("_Cancel"),
                                   GTK_RESPONSE_CANCEL, translated("_Open"), GTK_RESPONSE_ACCEPT, nullptr));
}

void about() {
  GtkWidget* const dialog = gtk_about_dialog_new();
  gtk_about_dialog_set_program_name(GTK_ABOUT_DIALOG(dialog), "Beispiel");
  show(dialog);
}

const std::map<std::string, std::function<void()>>& kinds() {
  static const std::map<std::string, std::function<void()>> all{
      {"yes-no", [] { question(GTK_BUTTONS_YES_NO, false); }},
      {"delete", [] { question(GTK_BUTTONS_NONE, true); }},
      {"about", about},
      {"open", open},
      {"color", [] { show(gtk_color_chooser_dialog_new(nullptr, nullptr)); }},
      {"font", [] { show(gtk_font_chooser_dialog_new(nullptr, nullptr)); }}};
  return all;
}

G_GNUC_END_IGNORE_DEPRECATIONS

}  // namespace

int main(int count, char** arguments) {
  gtk_init();
  const auto kind = count > 1 ? kinds().find(arguments[1]) : kinds().end();
  if (kind == kinds().end()) return 2;
  kind->second();
  while (g_list_model_get_n_items(gtk_window_get_toplevels()) > 0) g_main_context_iteration(nullptr, TRUE);
  return 0;
}
