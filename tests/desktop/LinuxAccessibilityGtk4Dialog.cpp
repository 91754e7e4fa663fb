#include <cstdio>
#include <cstring>

#include <gtk/gtk.h>

// Shows a prompt with GTK 4, says "ready" once it can be seen, and then the response that was chosen.
// Arguments: title, text, secondary text; "--password" or "--keep" may follow.
namespace {

bool keeps = false;

void say(const char* text) {
  std::printf("%s\n", text);
  std::fflush(stdout);
}

void onResponse(GtkDialog* dialog, int response, gpointer loop) {
  say(response == 1 ? "Allow" : response == 2 ? "Don't Allow" : "closed");
  if (keeps) {
    gtk_widget_set_visible(GTK_WIDGET(dialog), FALSE);
  } else {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4 || !gtk_init_check()) return 2;
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  GtkWidget* const dialog =
      gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE, "%s", argv[2]);
  gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s", argv[3]);
  gtk_window_set_title(GTK_WINDOW(dialog), argv[1]);
  gtk_dialog_add_button(GTK_DIALOG(dialog), "Don't Allow", 2);
  gtk_dialog_add_button(GTK_DIALOG(dialog), "_Allow", 1);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), 1);
  for (int i = 4; i < argc; ++i) {
    if (std::strcmp(argv[i], "--keep") == 0) keeps = true;
    if (std::strcmp(argv[i], "--password") != 0) continue;
    GtkWidget* const field = gtk_password_entry_new();
    gtk_editable_set_text(GTK_EDITABLE(field), "planted-secret");
    gtk_box_append(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), field);
  }
  g_signal_connect(dialog, "response", G_CALLBACK(onResponse), loop);
  gtk_window_present(GTK_WINDOW(dialog));
  say("ready");
  g_main_loop_run(loop);
  return 0;
}
