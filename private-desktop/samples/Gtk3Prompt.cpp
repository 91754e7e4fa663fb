// A window of any kind with GTK 3. See private-desktop/samples/README.md.

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include "private-desktop/samples/GtkParts.h"
#include "private-desktop/samples/SampleOptions.h"
#include "private-desktop/samples/SampleOutcome.h"
#include "private-desktop/samples/WindowPlacing.h"

namespace quillard::samples {
namespace {

constexpr int kSpacing = 6;
constexpr guint kTickMilliseconds = 5;
constexpr guint kPlaceCheckMilliseconds = 50;

class Gtk3Prompt {
 public:
  // `prompts` outlives the prompt.
  Gtk3Prompt(const SampleOptions& options, OpenPrompts& prompts)
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
  void pressed(int index, const std::string& label);
  void succeed();
  void fallSilent();
  void close(int exitCode);

  static void onResponse(GtkDialog*, int response, gpointer self);
  static void onClicked(GtkButton* button, gpointer self);
  static gboolean onMapped(GtkWidget* window, GdkEvent*, gpointer self);
  static gboolean onTick(gpointer self);
  static gboolean onPlaceCheck(gpointer self);
  void windowIsUp();

  SampleOptions options;
  SampleOutcome outcome;
  OpenPrompts& prompts;
  GtkWidget* parent = nullptr;
  GtkWidget* window = nullptr;
  WindowPlacing placing;
};

void add(GtkWidget* area, GtkWidget* child) { gtk_container_add(GTK_CONTAINER(area), child); }

GtkWidget* box(GtkOrientation orientation) { return gtk_box_new(orientation, kSpacing); }

void describe(GtkWidget* widget, AtkRole role, const std::string& name) {
  AtkObject* const accessible = gtk_widget_get_accessible(widget);
  atk_object_set_role(accessible, role);
  if (!name.empty()) atk_object_set_name(accessible, name.c_str());
}

GtkWidget* Gtk3Prompt::makeWindow() {
  switch (options.kind) {
    case Kind::messageBox:
      return makeMessageBox(options);
    case Kind::dialog:
      return gtk_dialog_new();
    case Kind::fileChooser: {
      GtkWidget* const made =
          gtk_file_chooser_dialog_new(nullptr, nullptr, GTK_FILE_CHOOSER_ACTION_OPEN, nullptr, nullptr);
      describe(made, ATK_ROLE_FILE_CHOOSER, "");
      return made;
    }
    default:
      break;
  }
  GtkWidget* const made = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  if (options.kind == Kind::filler) describe(made, ATK_ROLE_FILLER, "");
  return made;
}

GtkWidget* Gtk3Prompt::areaOf(GtkWidget* made) {
  if (GTK_IS_MESSAGE_DIALOG(made)) return gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(made));
  if (GTK_IS_DIALOG(made)) return gtk_dialog_get_content_area(GTK_DIALOG(made));
  GtkWidget* const area = box(GTK_ORIENTATION_VERTICAL);
  add(made, area);
  return area;
}

void Gtk3Prompt::addFields(GtkWidget* area) {
  if (options.passwordLabel) add(area, gtk_label_new(options.passwordLabel->c_str()));
  if (options.passwordLabel || options.hasSecret) {
    GtkWidget* const entry = gtk_entry_new();
    gtk_entry_set_visibility(GTK_ENTRY(entry), FALSE);
    gtk_entry_set_text(GTK_ENTRY(entry), options.secretText.c_str());
    add(area, entry);
  }
  if (options.fieldLabel) {
    add(area, gtk_label_new(options.fieldLabel->c_str()));
    add(area, gtk_entry_new());
  }
}

void Gtk3Prompt::addHidden(GtkWidget* area) {
  for (const auto& text : options.hiddenTexts) {
    GtkWidget* const label = gtk_label_new(text.c_str());
    gtk_widget_set_no_show_all(label, TRUE);
    add(area, label);
  }
  for (const auto& text : options.hiddenButtons) {
    GtkWidget* const button = addButton(area, text);
    gtk_widget_set_no_show_all(button, TRUE);
  }
  for (const auto& text : options.zeroSizeTexts) {
    GtkWidget* const revealer = gtk_revealer_new();
    add(revealer, gtk_label_new(text.c_str()));
    add(area, revealer);
  }
}

// The page that a browser shows, its prompt, and another prompt that is there but empty.
void Gtk3Prompt::addWindowPrompt(GtkWidget* area) {
  add(area, gtk_label_new("The page behind the prompt"));
  GtkWidget* const empty = box(GTK_ORIENTATION_VERTICAL);
  describe(empty, ATK_ROLE_ALERT, "");
  add(area, empty);
  GtkWidget* const prompt = box(GTK_ORIENTATION_VERTICAL);
  describe(prompt, options.isPromptDialog ? ATK_ROLE_DIALOG : ATK_ROLE_ALERT, options.promptTitle);
  for (const auto& text : options.texts) add(prompt, makeText(text));
  addFields(prompt);
  addButtons(prompt);
  add(area, prompt);
}

GtkWidget* makeToolbar() {
  GtkWidget* const toolbar = gtk_toolbar_new();
  for (const char* name : {"Back", "Forward"}) {
    gtk_toolbar_insert(GTK_TOOLBAR(toolbar), gtk_tool_button_new(nullptr, name), -1);
  }
  return toolbar;
}

GtkWidget* makeTabs() {
  GtkWidget* const tabs = gtk_notebook_new();
  for (const char* name : {"General", "Advanced"}) {
    GtkWidget* const page = box(GTK_ORIENTATION_VERTICAL);
    add(page, gtk_check_button_new_with_label("Show hints"));
    add(page, gtk_check_button_new_with_label("Keep a history"));
    gtk_notebook_append_page(GTK_NOTEBOOK(tabs), page, gtk_label_new(name));
  }
  return tabs;
}

GtkWidget* makeWidgets(int count) {
  GtkWidget* const scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_min_content_height(GTK_SCROLLED_WINDOW(scrolled), 200);
  GtkWidget* const flat = box(GTK_ORIENTATION_VERTICAL);
  for (int i = 0; i < count; ++i) add(flat, gtk_label_new(("Item " + std::to_string(i)).c_str()));
  add(scrolled, flat);
  return scrolled;
}

// Counts up in a text that changes and in a button that is another one each time.
struct Restless {
  GtkWidget* text;
  GtkWidget* row;
  int round = 0;

  void goOn() {
    ++round;
    gtk_label_set_text(GTK_LABEL(text), ("Round " + std::to_string(round)).c_str());
    gtk_container_foreach(
        GTK_CONTAINER(row), [](GtkWidget* child, gpointer) { gtk_widget_destroy(child); }, nullptr);
    add(row, gtk_button_new_with_label(("Choice " + std::to_string(round)).c_str()));
    gtk_widget_show_all(row);
  }
};

void addRestless(GtkWidget* area) {
  static constexpr int kRounds = 100;
  auto* const restless = new Restless{gtk_label_new(""), box(GTK_ORIENTATION_HORIZONTAL)};
  add(area, restless->text);
  add(area, restless->row);
  restless->goOn();
  const auto goOn = [](gpointer data) -> gboolean {
    auto* const self = static_cast<Restless*>(data);
    self->goOn();
    return self->round < kRounds ? TRUE : FALSE;
  };
  g_timeout_add_full(G_PRIORITY_DEFAULT, 20, goOn, restless,
                     [](gpointer data) { delete static_cast<Restless*>(data); });
}

void Gtk3Prompt::fill(GtkWidget* area, bool withTexts) {
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
  if (options.isRestless) addRestless(area);
}

GtkWidget* Gtk3Prompt::addButton(GtkWidget* area, const std::string& label) {
  GtkWidget* const button = gtk_button_new_with_label(label.c_str());
  g_signal_connect(button, "clicked", G_CALLBACK(&Gtk3Prompt::onClicked), this);
  add(area, button);
  return button;
}

void Gtk3Prompt::addButtons(GtkWidget* area) {
  GtkWidget* const row = box(GTK_ORIENTATION_HORIZONTAL);
  for (std::size_t i = 0; i < options.buttons.size(); ++i) {
    GtkWidget* const button = addButton(row, options.buttons[i]);
    g_object_set_data(G_OBJECT(button), "index", GINT_TO_POINTER(static_cast<int>(i) + 1));
    gtk_widget_set_sensitive(button, static_cast<int>(i) != options.disabledButton ? TRUE : FALSE);
    if (static_cast<int>(i) != options.defaultButton) continue;
    gtk_widget_set_can_default(button, TRUE);
    gtk_window_set_default(GTK_WINDOW(window), button);
  }
  add(area, row);
}

void Gtk3Prompt::show() {
  window = makeWindow();
  GtkWidget* const made = window;
  GtkWidget* const area = areaOf(made);
  fill(area, options.kind != Kind::messageBox);
  if (GTK_IS_DIALOG(made)) {
    addDialogButtons(GTK_DIALOG(made), options);
    g_signal_connect(made, "response", G_CALLBACK(&Gtk3Prompt::onResponse), this);
  } else {
    if (options.kind != Kind::windowPrompt) addButtons(area);
    g_signal_connect_swapped(made, "delete-event", G_CALLBACK(+[](gpointer self) {
                               static_cast<Gtk3Prompt*>(self)->close(kClosedWithoutAButton);
                               return TRUE;
                             }),
                             this);
  }
  gtk_window_set_title(GTK_WINDOW(made), options.title.c_str());
  if (options.hasDialogType) gtk_window_set_type_hint(GTK_WINDOW(made), GDK_WINDOW_TYPE_HINT_DIALOG);
  if (parent) gtk_window_set_transient_for(GTK_WINDOW(made), GTK_WINDOW(parent));
  gtk_window_set_modal(GTK_WINDOW(made), options.isModal);
  g_signal_connect(made, "map-event", G_CALLBACK(&Gtk3Prompt::onMapped), this);
  gtk_widget_show_all(made);
}

void Gtk3Prompt::onResponse(GtkDialog*, int response, gpointer self) {
  auto& prompt = *static_cast<Gtk3Prompt*>(self);
  if (response < kFirstButton) return prompt.close(kClosedWithoutAButton);
  const int index = response - kFirstButton;
  prompt.pressed(index, prompt.options.buttons.at(static_cast<std::size_t>(index)));
}

void Gtk3Prompt::onClicked(GtkButton* button, gpointer self) {
  const int index = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "index")) - 1;
  static_cast<Gtk3Prompt*>(self)->pressed(index, gtk_button_get_label(button));
}

gboolean Gtk3Prompt::onMapped(GtkWidget* window, GdkEvent*, gpointer self) {
  auto& prompt = *static_cast<Gtk3Prompt*>(self);
  if (window != prompt.window) return FALSE;
  if (prompt.options.at) {
    prompt.placing.start();
    g_timeout_add(kTickMilliseconds, &Gtk3Prompt::onTick, self);
  } else {
    prompt.windowIsUp();
  }
  return FALSE;
}

// 0 on a desktop that is none of X.
XWindow xWindowOf(GtkWidget* window) {
  GdkWindow* const shown = gtk_widget_get_window(window);
  return GDK_IS_X11_WINDOW(shown) ? static_cast<XWindow>(GDK_WINDOW_XID(shown)) : 0;
}

gboolean Gtk3Prompt::onTick(gpointer self) {
  auto& prompt = *static_cast<Gtk3Prompt*>(self);
  if (!prompt.window) return FALSE;
  const XWindow window = xWindowOf(prompt.window);
  if (!prompt.placing.isManaged(window) || !prompt.placing.staysAt(*prompt.options.at, window)) return TRUE;
  prompt.windowIsUp();
  g_timeout_add(kPlaceCheckMilliseconds, &Gtk3Prompt::onPlaceCheck, self);
  return FALSE;
}

gboolean Gtk3Prompt::onPlaceCheck(gpointer self) {
  auto& prompt = *static_cast<Gtk3Prompt*>(self);
  if (!prompt.window) return FALSE;
  prompt.placing.keepAt(*prompt.options.at, xWindowOf(prompt.window));
  return TRUE;
}

void Gtk3Prompt::windowIsUp() {
  if (options.isMinimised) gtk_window_iconify(GTK_WINDOW(window));
  options.isMinimised = false;
  outcome.windowIsUp();
}

// A button that is none of the choices only leaves its line of output.
void Gtk3Prompt::pressed(int index, const std::string& label) {
  const auto next = outcome.press(label);
  if (index < 0) return;
  if (next == SampleOutcome::Next::isSucceeded) return succeed();
  if (next == SampleOutcome::Next::stays) return;
  if (next == SampleOutcome::Next::fallsSilent) return fallSilent();
  close(kFirstButton + index);
}

void Gtk3Prompt::close(int exitCode) {
  if (!prompts.closeOne(exitCode)) return;
  gtk_widget_destroy(window);
  window = nullptr;
}

// The window is off the screen by then, and what pressed the button has its answer.
void Gtk3Prompt::fallSilent() {
  gtk_widget_destroy(window);
  window = nullptr;
  gdk_display_sync(gdk_display_get_default());
  const auto stay = [](gpointer) -> gboolean { hang(); };
  g_idle_add(stay, nullptr);
}

void Gtk3Prompt::succeed() {
  GtkWidget* const old = window;
  const auto place = options.at.value_or(placing.placeOf(xWindowOf(old)));
  options = options.successor();
  options.at = place;
  show();
  gtk_widget_destroy(old);
}

void Gtk3Prompt::start() {
  if (options.parent) {
    parent = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(parent), options.parent->c_str());
    gtk_window_set_default_size(GTK_WINDOW(parent), 500, 400);
    add(parent, gtk_label_new("The document"));
    gtk_widget_show_all(parent);
  }
  prompts.add();
  if (!options.promptAfter) return show();
  const auto showLater = [](gpointer prompt) -> gboolean {
    static_cast<Gtk3Prompt*>(prompt)->show();
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
  g_log_set_handler(
      "Gtk", G_LOG_LEVEL_MESSAGE, [](const char*, GLogLevelFlags, const char*, gpointer) {}, nullptr);
  if (options.applicationName) {
    g_set_prgname(options.applicationName->c_str());
    g_set_application_name(options.applicationName->c_str());
  }
  int count = 1;
  gtk_init(&count, &argv);
  if (options.applicationName) gdk_set_program_class(options.applicationName->c_str());
  return run<Gtk3Prompt>(options);
}
