#include "desktop/languages/LanguageWindows.h"

namespace quillard::test {
namespace {

using Arguments = std::vector<std::string>;

LanguageWindow zenity(WindowKind kind, const Arguments& options) {
  std::string name = "zenity";
  for (const auto& option : options) name += " " + option;
  return {name, kind, "zenity", options};
}

// It ends with its input, which here never ends.
LanguageWindow zenityWithInput(WindowKind kind, const std::string& options) {
  return {"zenity " + options, kind, "bash", {"-c", "exec zenity " + options + " < <(exec sleep 300)"}};
}

LanguageWindow sample(WindowKind kind, const std::string& toolkit, const std::string& window) {
  const std::string folder = LANGUAGE_SAMPLES;
  return {toolkit + " " + window, kind, folder + "/translated_" + toolkit, {window}};
}

void add(std::vector<LanguageWindow>& windows, WindowKind kind, const std::string& toolkit, const Arguments& names) {
  for (const auto& name : names) windows.push_back(sample(kind, toolkit, name));
}

// The portal that asks for a program in a container: its own labels, and a text that its caller translates.
LanguageWindow portal() {
  return {"portal access",
          WindowKind::prompt,
          "/usr/libexec/xdg-desktop-portal-gtk",
          {},
          {"gdbus", "call", "--session", "--timeout", "60", "--dest", "org.freedesktop.impl.portal.desktop.gtk",
           "--object-path", "/org/freedesktop/portal/desktop", "--method",
           "org.freedesktop.impl.portal.Access.AccessDialog", "/org/freedesktop/portal/desktop/request/1/a",
           "org.example.Camera", "", "Turn On Camera?", "Cheese wants to use your camera.",
           "This permission can be changed at any time from the privacy settings.", "{}"},
          "org.freedesktop.impl.portal.desktop.gtk"};
}

// The agent that asks for a password when something wants to be done as the superuser.
LanguageWindow policyAgent() {
  return {.name = "policy agent",
          .kind = WindowKind::secret,
          .program = "/usr/lib/policykit-1-gnome/polkit-gnome-authentication-agent-1",
          .arguments = {},
          .service = "org.freedesktop.PolicyKit1",
          .authority = {std::string(LANGUAGE_SAMPLES) + "/policy_authority"},
          .preloaded = SESSION_STUB};
}

}  // namespace

std::vector<LanguageWindow> languagePrompts() {
  std::vector<LanguageWindow> windows{
      zenity(WindowKind::prompt, {"--question"}), zenity(WindowKind::secret, {"--password"}),
      zenity(WindowKind::secret, {"--password", "--username"}), portal(), policyAgent()};
  add(windows, WindowKind::prompt, "gtk3", {"delete", "replace", "yes-no", "ok-cancel"});
  add(windows, WindowKind::secret, "gtk3", {"password"});
  add(windows, WindowKind::prompt, "gtk4", {"delete", "yes-no"});
  add(windows, WindowKind::prompt, "qt", {"delete", "replace", "unsaved", "ok-cancel", "all"});
  add(windows, WindowKind::secret, "qt", {"password"});
  return windows;
}

std::vector<LanguageWindow> languageOthers() {
  std::vector<LanguageWindow> windows;
  for (const Arguments& options :
       {Arguments{"--calendar"}, Arguments{"--entry"}, Arguments{"--scale"}, Arguments{"--color-selection"},
        Arguments{"--file-selection"}, Arguments{"--file-selection", "--save"},
        Arguments{"--file-selection", "--directory"}, Arguments{"--file-selection", "--multiple"},
        Arguments{"--forms", "--add-entry=A", "--add-entry=B"}, Arguments{"--list", "--column=A", "1", "2", "3"},
        Arguments{"--list", "--checklist", "--column=", "--column=A", "TRUE", "1", "FALSE", "2"},
        Arguments{"--list", "--radiolist", "--column=", "--column=A", "TRUE", "1", "FALSE", "2"}}) {
    windows.push_back(zenity(WindowKind::other, options));
  }
  for (const std::string options : {"--progress", "--progress --pulsate", "--text-info", "--text-info --editable"}) {
    windows.push_back(zenityWithInput(WindowKind::other, options));
  }
  windows.push_back(zenity(WindowKind::information, {"--info"}));
  windows.push_back(zenity(WindowKind::information, {"--warning"}));
  windows.push_back(zenity(WindowKind::information, {"--error"}));
  add(windows, WindowKind::other, "gtk3",
      {"about", "open", "save", "folder", "color", "font", "application", "recent", "find", "preferences", "properties",
       "assistant"});
  add(windows, WindowKind::other, "gtk4", {"about", "open", "color", "font"});
  add(windows, WindowKind::other, "qt",
      {"text", "number", "item", "open", "save", "folder", "color", "font", "progress", "wizard", "settings", "form",
       "tool"});
  add(windows, WindowKind::information, "qt", {"error", "about"});
  return windows;
}

}  // namespace quillard::test
