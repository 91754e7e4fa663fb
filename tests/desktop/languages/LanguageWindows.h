#pragma once

#include <string>
#include <vector>

namespace quillard::test {

// What a person says that a window is.
enum class WindowKind {
  prompt,
  secret,       // A prompt that asks for a secret.
  information,  // Says something, and waits for its one button.
  other,        // A form, a picker, a tool: nothing that waits for a decision.
};

// A window of a real program, or of a sample whose texts are a toolkit's own.
struct LanguageWindow {
  std::string name;
  WindowKind kind = WindowKind::other;
  std::string program;
  std::vector<std::string> arguments;
  std::vector<std::string> caller{};     // A command that asks for the window, once `service` is there.
  std::string service{};                 // A name on the bus.
  std::vector<std::string> authority{};  // A program that has to be there, with `service`, before this one.
  std::string preloaded{};               // A library for the program. It then takes the session's bus for the system's.
};

// Of every toolkit, those of services among them. Their texts, but for names, are in the program's own language.
[[nodiscard]] std::vector<LanguageWindow> languagePrompts();
// More than forty that are no prompts.
[[nodiscard]] std::vector<LanguageWindow> languageOthers();

}  // namespace quillard::test
