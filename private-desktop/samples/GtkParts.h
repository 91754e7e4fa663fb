#pragma once

#include <csignal>
#include <cstddef>
#include <string>

#include <glib-unix.h>
#include <gtk/gtk.h>

#include "private-desktop/samples/SampleOptions.h"
#include "private-desktop/samples/SampleOutcome.h"

// What GTK 3 and GTK 4 have in common: included by a program of either, and compiled against its own.
namespace quillard::samples {

inline GtkWidget* makeMessageBox(const SampleOptions& options) {
  const std::string question = options.texts.empty() ? "" : options.texts.front();
  GtkWidget* const made =
      gtk_message_dialog_new(nullptr, GtkDialogFlags{}, GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE, "%s", question.c_str());
  std::string rest;
  for (std::size_t i = 1; i < options.texts.size(); ++i) rest += (i > 1 ? "\n" : "") + options.texts[i];
  if (!rest.empty()) gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(made), "%s", rest.c_str());
  return made;
}

// Of a text that no screen has room for, the beginning is to be seen.
inline void limitWidth(GtkWidget* label, std::size_t length, int characters) {
  constexpr std::size_t kMostShown = 1000;
  if (length <= kMostShown) return;
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  gtk_label_set_max_width_chars(GTK_LABEL(label), characters);
}

inline GtkWidget* makeText(const std::string& text) {
  GtkWidget* const label = gtk_label_new(text.c_str());
  limitWidth(label, text.size(), 60);
  return label;
}

inline void limitWidthOfButton(GtkWidget* button, const std::string& label) {
#if GTK_MAJOR_VERSION < 4
  GtkWidget* const shown = gtk_bin_get_child(GTK_BIN(button));
#else
  GtkWidget* const shown = gtk_button_get_child(GTK_BUTTON(button));
#endif
  limitWidth(shown, label.size(), 12);
}

// Their responses are `kFirstButton` and the numbers that follow.
inline void addDialogButtons(GtkDialog* dialog, const SampleOptions& options) {
  for (std::size_t i = 0; i < options.buttons.size(); ++i) {
    const auto& label = options.buttons[i];
    limitWidthOfButton(gtk_dialog_add_button(dialog, label.c_str(), kFirstButton + static_cast<int>(i)), label);
  }
  if (options.disabledButton >= 0) {
    gtk_dialog_set_response_sensitive(dialog, kFirstButton + options.disabledButton, FALSE);
  }
  if (options.defaultButton >= 0) gtk_dialog_set_default_response(dialog, kFirstButton + options.defaultButton);
}

// Ends `loop`, or hangs, when the options' time has come; ends it also when a SIGUSR1 asks for it.
inline void endInTime(const SampleOptions& options, GMainLoop* loop) {
  const auto quit = [](gpointer running) -> gboolean {
    g_main_loop_quit(static_cast<GMainLoop*>(running));
    return FALSE;
  };
  const auto stay = [](gpointer) -> gboolean { hang(); };
  g_unix_signal_add(SIGUSR1, quit, loop);
  if (options.closeAfter) g_timeout_add(static_cast<guint>(options.closeAfter->count()), quit, loop);
  if (options.hangAfter) g_timeout_add(static_cast<guint>(options.hangAfter->count()), stay, nullptr);
}

// Shows the prompt, and its twin, until they have gone. The program's exit code.
template <typename Prompt>
int run(const SampleOptions& options) {
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  int exitCode = kClosedWithoutAButton;
  OpenPrompts prompts([&](int code) {
    exitCode = code;
    g_main_loop_quit(loop);
  });
  Prompt first(options, prompts);
  first.start();
  Prompt second(options.twin(), prompts);
  if (options.hasTwin) second.start();
  endInTime(options, loop);
  g_main_loop_run(loop);
  return exitCode;
}

}  // namespace quillard::samples
