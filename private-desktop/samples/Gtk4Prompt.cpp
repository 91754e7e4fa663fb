// A window of any kind with GTK 4. See private-desktop/samples/README.md.

#include <X11/Xlib.h>
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

#include "private-desktop/samples/GtkParts.h"
#include "private-desktop/samples/SampleOptions.h"
#include "private-desktop/samples/SampleOutcome.h"
#include "private-desktop/samples/WindowPlacing.h"

namespace quillard::samples {
namespace {

constexpr int kSpacing = 6;
constexpr guint kPlaceCheckMilliseconds = 50;

class Gtk4Prompt {
 public:
  // `prompts` outlives the prompt.
  Gtk4Prompt(const SampleOptions& options, OpenPrompts& prompts)
      : options(options), outcome(options), prompts(prompts) {}
  void start();

 private:
  GtkWidget* makeWindow();
  GtkWidget* areaOf(GtkWidget* made);
  void fill(GtkWidget* area, bool withTexts);
  void addFields(GtkWidget* area);
  void addHidden(GtkWidget* area);
  void addWindowPrompt(GtkWidget* area);
  void addButtons(GtkWidget* area);
  GtkWidget* addButton(GtkWidget* area, const std::string& label);
  void show();
  void setDialogType();
  void pressed(int index, const std::string& label);
  void succeed();
  void fallSilent();
  void close(int exitCode);

  static void onResponse(GtkDialog*, int response, gpointer self);
  static void onClicked(GtkButton* button, gpointer self);
  static gboolean onTick(gpointer self);
  static gboolean onPlaceCheck(gpointer self);

  SampleOptions options;
  SampleOutcome outcome;
  OpenPrompts& prompts;
  GtkWidget* parent = nullptr;
  GtkWidget* window = nullptr;
  WindowPlacing placing;
};

void add(GtkWidget* area, GtkWidget* child) { gtk_box_append(GTK_BOX(area), child); }

GtkWidget* boxWithRole(GtkAccessibleRole role) {
  return GTK_WIDGET(g_object_new(GTK_TYPE_BOX, "orientation", GTK_ORIENTATION_VERTICAL, "spacing", kSpacing,
                                 "accessible-role", role, nullptr));
}

GtkWidget* box(GtkOrientation orientation) { return gtk_box_new(orientation, kSpacing); }

void name(GtkWidget* widget, const std::string& text) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, text.c_str(), -1);
}

GtkWidget* Gtk4Prompt::makeWindow() {
  switch (options.kind) {
    case Kind::messageBox:
      return makeMessageBox(options);
    case Kind::dialog:
      return gtk_dialog_new();
    case Kind::fileChooser:
      return gtk_file_chooser_dialog_new(nullptr, nullptr, GTK_FILE_CHOOSER_ACTION_OPEN, nullptr, nullptr);
    case Kind::filler:
      refuse("--kind filler");
    default:
      return gtk_window_new();
  }
}

GtkWidget* Gtk4Prompt::areaOf(GtkWidget* made) {
  if (GTK_IS_MESSAGE_DIALOG(made)) return gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(made));
  if (GTK_IS_DIALOG(made)) return gtk_dialog_get_content_area(GTK_DIALOG(made));
  GtkWidget* const area = box(GTK_ORIENTATION_VERTICAL);
  gtk_window_set_child(GTK_WINDOW(made), area);
  return area;
}

void Gtk4Prompt::addFields(GtkWidget* area) {
  if (options.passwordLabel) add(area, gtk_label_new(options.passwordLabel->c_str()));
  if (options.passwordLabel || options.hasSecret) {
    GtkWidget* const entry = gtk_password_entry_new();
    gtk_editable_set_text(GTK_EDITABLE(entry), options.secretText.c_str());
    add(area, entry);
  }
  if (options.fieldLabel) {
    add(area, gtk_label_new(options.fieldLabel->c_str()));
    add(area, gtk_entry_new());
  }
}

void Gtk4Prompt::addHidden(GtkWidget* area) {
  for (const auto& text : options.hiddenTexts) {
    GtkWidget* const label = gtk_label_new(text.c_str());
    gtk_widget_set_visible(label, FALSE);
    add(area, label);
  }
  for (const auto& text : options.hiddenButtons) gtk_widget_set_visible(addButton(area, text), FALSE);
  for (const auto& text : options.zeroSizeTexts) {
    GtkWidget* const revealer = gtk_revealer_new();
    gtk_revealer_set_child(GTK_REVEALER(revealer), gtk_label_new(text.c_str()));
    add(area, revealer);
  }
}

// The page that a browser shows, its prompt, and another prompt that is there but empty.
void Gtk4Prompt::addWindowPrompt(GtkWidget* area) {
  add(area, gtk_label_new("The page behind the prompt"));
  add(area, boxWithRole(GTK_ACCESSIBLE_ROLE_ALERT));
  GtkWidget* const prompt =
      boxWithRole(options.isPromptDialog ? GTK_ACCESSIBLE_ROLE_DIALOG : GTK_ACCESSIBLE_ROLE_ALERT);
  name(prompt, options.promptTitle);
  for (const auto& text : options.texts) add(prompt, makeText(text));
  addFields(prompt);
  addButtons(prompt);
  add(area, prompt);
}

GtkWidget* makeToolbar() {
  GtkWidget* const toolbar = boxWithRole(GTK_ACCESSIBLE_ROLE_TOOLBAR);
  for (const char* label : {"Back", "Forward"}) add(toolbar, gtk_button_new_with_label(label));
  return toolbar;
}

GtkWidget* makeTabs() {
  GtkWidget* const tabs = gtk_notebook_new();
  for (const char* label : {"General", "Advanced"}) {
    GtkWidget* const page = box(GTK_ORIENTATION_VERTICAL);
    add(page, gtk_check_button_new_with_label("Show hints"));
    add(page, gtk_check_button_new_with_label("Keep a history"));
    gtk_notebook_append_page(GTK_NOTEBOOK(tabs), page, gtk_label_new(label));
  }
  return tabs;
}

GtkWidget* makeWidgets(int count) {
  GtkWidget* const scrolled = gtk_scrolled_window_new();
  gtk_scrolled_window_set_min_content_height(GTK_SCROLLED_WINDOW(scrolled), 200);
  GtkWidget* const flat = box(GTK_ORIENTATION_VERTICAL);
  for (int i = 0; i < count; ++i) add(flat, gtk_label_new(("Item " + std::to_string(i)).c_str()));
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), flat);
  return scrolled;
}

void Gtk4Prompt::fill(GtkWidget* area, bool withTexts) {
  if (options.hasToolbar) add(area, makeToolbar());
  if (options.hasTabs || options.kind == Kind::preferences) add(area, makeTabs());
  if (options.widgets > 0) add(area, makeWidgets(options.widgets));
  if (options.kind == Kind::windowPrompt) {
    addWindowPrompt(area);
  } else {
    for (const auto& text : options.texts) {
      if (withTexts) add(area, makeText(text));
    }
    addFields(area);
  }
  addHidden(area);
}

GtkWidget* Gtk4Prompt::addButton(GtkWidget* area, const std::string& label) {
  GtkWidget* const button = gtk_button_new_with_label(label.c_str());
  g_signal_connect(button, "clicked", G_CALLBACK(&Gtk4Prompt::onClicked), this);
  add(area, button);
  return button;
}

void Gtk4Prompt::addButtons(GtkWidget* area) {
  GtkWidget* const row = box(GTK_ORIENTATION_HORIZONTAL);
  for (std::size_t i = 0; i < options.buttons.size(); ++i) {
    GtkWidget* const button = addButton(row, options.buttons[i]);
    g_object_set_data(G_OBJECT(button), "index", GINT_TO_POINTER(static_cast<int>(i) + 1));
    gtk_widget_set_sensitive(button, static_cast<int>(i) != options.disabledButton ? TRUE : FALSE);
    if (static_cast<int>(i) == options.defaultButton) gtk_window_set_default_widget(GTK_WINDOW(window), button);
  }
  add(area, row);
}

void Gtk4Prompt::show() {
  window = makeWindow();
  GtkWidget* const made = window;
  GtkWidget* const area = areaOf(made);
  fill(area, options.kind != Kind::messageBox);
  if (GTK_IS_DIALOG(made)) {
    addDialogButtons(GTK_DIALOG(made), options);
    g_signal_connect(made, "response", G_CALLBACK(&Gtk4Prompt::onResponse), this);
  } else {
    if (options.kind != Kind::windowPrompt) addButtons(area);
    g_signal_connect_swapped(made, "close-request", G_CALLBACK(+[](gpointer self) {
                               static_cast<Gtk4Prompt*>(self)->close(kClosedWithoutAButton);
                               return TRUE;
                             }),
                             this);
  }
  gtk_window_set_title(GTK_WINDOW(made), options.title.c_str());
  if (parent) gtk_window_set_transient_for(GTK_WINDOW(made), GTK_WINDOW(parent));
  gtk_window_set_modal(GTK_WINDOW(made), options.isModal);
  gtk_widget_realize(made);
  if (options.hasDialogType) setDialogType();
  gtk_window_present(GTK_WINDOW(made));
  placing.start();
  g_timeout_add(5, &Gtk4Prompt::onTick, this);
}

// 0 on a desktop that is none of X.
XWindow xWindowOf(GtkWidget* window) {
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window));
  return GDK_IS_X11_SURFACE(surface) ? static_cast<XWindow>(GDK_SURFACE_XID(surface)) : 0;
}

// GTK 4 leaves it to itself. Wayland has no such types.
void Gtk4Prompt::setDialogType() {
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window));
  if (!GDK_IS_X11_SURFACE(surface)) return;
  Display* const display = GDK_SURFACE_XDISPLAY(surface);
  const Atom type = XInternAtom(display, "_NET_WM_WINDOW_TYPE_DIALOG", False);
  XChangeProperty(display, GDK_SURFACE_XID(surface), XInternAtom(display, "_NET_WM_WINDOW_TYPE", False),
                  XInternAtom(display, "ATOM", False), 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&type), 1);
}

void Gtk4Prompt::onResponse(GtkDialog*, int response, gpointer self) {
  auto& prompt = *static_cast<Gtk4Prompt*>(self);
  if (response < kFirstButton) return prompt.close(kClosedWithoutAButton);
  const int index = response - kFirstButton;
  prompt.pressed(index, prompt.options.buttons.at(static_cast<std::size_t>(index)));
}

void Gtk4Prompt::onClicked(GtkButton* button, gpointer self) {
  const int index = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "index")) - 1;
  static_cast<Gtk4Prompt*>(self)->pressed(index, gtk_button_get_label(button));
}

gboolean Gtk4Prompt::onTick(gpointer self) {
  auto& prompt = *static_cast<Gtk4Prompt*>(self);
  if (!prompt.window) return FALSE;
  const XWindow window = xWindowOf(prompt.window);
  const bool isLaidOut = gtk_widget_get_width(prompt.window) > 0;
  if (!prompt.placing.isManaged(window) || !isLaidOut) return TRUE;
  if (prompt.options.at && !prompt.placing.staysAt(*prompt.options.at, window)) return TRUE;
  if (prompt.options.isMinimised) gtk_window_minimize(GTK_WINDOW(prompt.window));
  prompt.options.isMinimised = false;
  prompt.outcome.windowIsUp();
  if (prompt.options.at) g_timeout_add(kPlaceCheckMilliseconds, &Gtk4Prompt::onPlaceCheck, self);
  return FALSE;
}

gboolean Gtk4Prompt::onPlaceCheck(gpointer self) {
  auto& prompt = *static_cast<Gtk4Prompt*>(self);
  if (!prompt.window) return FALSE;
  prompt.placing.keepAt(*prompt.options.at, xWindowOf(prompt.window));
  return TRUE;
}

// A button that is none of the choices only leaves its line of output.
void Gtk4Prompt::pressed(int index, const std::string& label) {
  const auto next = outcome.press(label);
  if (index < 0) return;
  if (next == SampleOutcome::Next::isSucceeded) return succeed();
  if (next == SampleOutcome::Next::stays) return;
  if (next == SampleOutcome::Next::fallsSilent) return fallSilent();
  close(kFirstButton + index);
}

void Gtk4Prompt::close(int exitCode) {
  if (!prompts.closeOne(exitCode)) return;
  gtk_window_destroy(GTK_WINDOW(window));
  window = nullptr;
}

// The window is off the screen by then, and what pressed the button has its answer.
void Gtk4Prompt::fallSilent() {
  gtk_window_destroy(GTK_WINDOW(window));
  window = nullptr;
  gdk_display_sync(gdk_display_get_default());
  const auto stay = [](gpointer) -> gboolean { hang(); };
  g_idle_add(stay, nullptr);
}

void Gtk4Prompt::succeed() {
  GtkWidget* const old = window;
  const auto place = options.at.value_or(placing.placeOf(xWindowOf(old)));
  options = options.successor();
  options.at = place;
  show();
  gtk_window_destroy(GTK_WINDOW(old));
}

void Gtk4Prompt::start() {
  if (options.parent) {
    parent = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(parent), options.parent->c_str());
    gtk_window_set_default_size(GTK_WINDOW(parent), 500, 400);
    gtk_window_set_child(GTK_WINDOW(parent), gtk_label_new("The document"));
    gtk_window_present(GTK_WINDOW(parent));
  }
  prompts.add();
  if (!options.promptAfter) return show();
  const auto showLater = [](gpointer prompt) -> gboolean {
    static_cast<Gtk4Prompt*>(prompt)->show();
    return G_SOURCE_REMOVE;
  };
  g_timeout_add(static_cast<guint>(options.promptAfter->count()), showLater, this);
}

}  // namespace
}  // namespace quillard::samples

int main(int argc, char** argv) {
  using namespace quillard::samples;
  const auto options = parseSampleOptions(argc, argv);
  // GTK says of every dialog without a parent that it is discouraged. That is what these are for.
  g_log_set_writer_func(
      [](GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
        const bool isAdvice = (level & G_LOG_LEVEL_MASK) == G_LOG_LEVEL_MESSAGE;
        return isAdvice ? G_LOG_WRITER_HANDLED : g_log_writer_default(level, fields, count, nullptr);
      },
      nullptr, nullptr);
  if (options.applicationName) {
    g_set_prgname(options.applicationName->c_str());
    g_set_application_name(options.applicationName->c_str());
  }
  gtk_init();
  return run<Gtk4Prompt>(options);
}
