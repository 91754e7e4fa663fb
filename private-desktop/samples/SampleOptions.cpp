#include "private-desktop/samples/SampleOptions.h"

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string_view>

namespace quillard::samples {
namespace {

Kind kindNamed(const std::string& name) {
  static const std::map<std::string, Kind> kinds{{"message-box", Kind::messageBox},
                                                 {"dialog", Kind::dialog},
                                                 {"frame", Kind::frame},
                                                 {"filler", Kind::filler},
                                                 {"file-chooser", Kind::fileChooser},
                                                 {"main-window", Kind::mainWindow},
                                                 {"window-prompt", Kind::windowPrompt},
                                                 {"preferences", Kind::preferences}};
  const auto found = kinds.find(name);
  if (found == kinds.end()) refuse("--kind " + name);
  return found->second;
}

std::pair<int, int> pointNamed(const std::string& text) {
  const auto comma = text.find(',');
  if (comma == std::string::npos) refuse("--at " + text);
  return {std::stoi(text.substr(0, comma)), std::stoi(text.substr(comma + 1))};
}

std::chrono::milliseconds secondsNamed(const std::string& text) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(std::stod(text)));
}

using Flags = std::map<std::string, std::function<void(SampleOptions&)>>;
using Values = std::map<std::string, std::function<void(SampleOptions&, const std::string&)>>;

const Flags& flags() {
  static const Flags flags{
      {"--modal", [](auto& options) { options.isModal = true; }},
      {"--prompt-is-dialog", [](auto& options) { options.isPromptDialog = true; }},
      {"--dialog-type", [](auto& options) { options.hasDialogType = true; }},
      {"--secret", [](auto& options) { options.hasSecret = true; }},
      {"--toolbar", [](auto& options) { options.hasToolbar = true; }},
      {"--restless", [](auto& options) { options.isRestless = true; }},
      {"--tabs", [](auto& options) { options.hasTabs = true; }},
      {"--minimised", [](auto& options) { options.isMinimised = true; }},
      {"--hang-on-press", [](auto& options) { options.hangsOnPress = true; }},
      {"--silent-on-press", [](auto& options) { options.fallsSilentOnPress = true; }},
      {"--twin", [](auto& options) { options.hasTwin = true; }},
  };
  return flags;
}

const Values& values() {
  static const Values values{
      {"--kind", [](auto& options, const auto& value) { options.kind = kindNamed(value); }},
      {"--title", [](auto& options, const auto& value) { options.title = value; }},
      {"--prompt-title", [](auto& options, const auto& value) { options.promptTitle = value; }},
      {"--text", [](auto& options, const auto& value) { options.texts.push_back(value); }},
      {"--button", [](auto& options, const auto& value) { options.buttons.push_back(value); }},
      {"--default", [](auto& options, const auto& value) { options.defaultButton = std::stoi(value); }},
      {"--disabled", [](auto& options, const auto& value) { options.disabledButton = std::stoi(value); }},
      {"--parent", [](auto& options, const auto& value) { options.parent = value; }},
      {"--password", [](auto& options, const auto& value) { options.passwordLabel = value; }},
      {"--secret-text", [](auto& options, const auto& value) { options.secretText = value; }},
      {"--field", [](auto& options, const auto& value) { options.fieldLabel = value; }},
      {"--widgets", [](auto& options, const auto& value) { options.widgets = std::stoi(value); }},
      {"--hidden-text", [](auto& options, const auto& value) { options.hiddenTexts.push_back(value); }},
      {"--hidden-button", [](auto& options, const auto& value) { options.hiddenButtons.push_back(value); }},
      {"--zero-size-text", [](auto& options, const auto& value) { options.zeroSizeTexts.push_back(value); }},
      {"--at", [](auto& options, const auto& value) { options.at = pointNamed(value); }},
      {"--application", [](auto& options, const auto& value) { options.applicationName = value; }},
      {"--close-after", [](auto& options, const auto& value) { options.closeAfter = secondsNamed(value); }},
      {"--prompt-after",
       [](auto& options, const auto& value) { options.promptAfter = std::chrono::milliseconds(std::stoi(value)); }},
      {"--hang-after",
       [](auto& options, const auto& value) { options.hangAfter = std::chrono::milliseconds(std::stoi(value)); }},
      {"--ignore-presses", [](auto& options, const auto& value) { options.ignoredPresses = std::stoi(value); }},
      {"--again", [](auto& options, const auto& value) { options.repetitions = std::stoi(value); }},
      {"--pad-texts", [](auto& options, const auto& value) { options.textPadding = std::stoi(value); }},
      {"--pad-buttons", [](auto& options, const auto& value) { options.buttonPadding = std::stoi(value); }},
      {"--twin-at",
       [](auto& options, const auto& value) {
         options.hasTwin = true;
         options.twinAt = pointNamed(value);
       }},
      {"--successor", [](auto& options, const auto& value) { options.successorTitle = value; }},
      {"--successor-text", [](auto& options, const auto& value) { options.successorTexts.push_back(value); }},
      {"--successor-button", [](auto& options, const auto& value) { options.successorButtons.push_back(value); }},
  };
  return values;
}

void pad(std::string& text, int bytes, std::string_view filling) {
  const std::size_t wanted = text.size() + static_cast<std::size_t>(bytes);
  while (text.size() < wanted) text += filling;
}

[[noreturn]] void help() {
  for (const auto& [name, unused] : flags()) std::cout << name << "\n";
  for (const auto& [name, unused] : values()) std::cout << name << " VALUE\n";
  std::exit(0);
}

}  // namespace

void refuse(const std::string& what) {
  std::cerr << "Not understood, or not to be had of this toolkit: " << what << "\n";
  std::exit(2);
}

SampleOptions parseSampleOptions(int argc, char** argv) {
  SampleOptions options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--help") help();
    if (const auto flag = flags().find(name); flag != flags().end()) {
      flag->second(options);
      continue;
    }
    const auto value = values().find(name);
    if (value == values().end() || i + 1 == argc) refuse(name);
    value->second(options, argv[++i]);
  }
  for (auto& text : options.texts) pad(text, options.textPadding, " and so on");
  for (std::size_t i = 2; i < options.buttons.size(); ++i) pad(options.buttons[i], options.buttonPadding, "\"");
  return options;
}

SampleOptions SampleOptions::successor() const {
  SampleOptions next = *this;
  if (next.repetitions-- > 0) return next;
  next.title = successorTitle.value_or("");
  next.texts = successorTexts;
  next.buttons = successorButtons;
  next.defaultButton = -1;
  next.successorTitle.reset();
  next.ignoredPresses = 0;
  next.hangsOnPress = false;
  next.fallsSilentOnPress = false;
  return next;
}

SampleOptions SampleOptions::twin() const {
  SampleOptions twin = *this;
  if (twinAt) twin.at = twinAt;
  twin.isTwin = true;
  return twin;
}

}  // namespace quillard::samples
