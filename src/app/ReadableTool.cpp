#include "app/ReadableTool.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::app {
namespace {

using platform::ReadableStart;
using platform::UnreadableProgram;
using Programs = platform::Finding<std::vector<UnreadableProgram>>;

constexpr const char* kNotHere = "On this system programs need nothing at their start to be read.\n";

std::string describe(const UnreadableProgram& program) {
  std::string text = "cannot be read  " + printableText(program.name) + " (process " +
                     std::to_string(program.processIdentifier) + ")\n";
  if (!program.remedy.empty()) text += "    what helps: " + program.remedy + "\n";
  if (!program.startEntry.empty()) text += "    or: quillard readable " + program.startEntry + "\n";
  return text;
}

std::string describe(const ReadableStart& start) {
  return "starts readable  " + printableText(start.name) + "\n    to undo it: quillard readable --undo " + start.entry +
         "\n";
}

ExitCode list(const Programs& programs, platform::ReadableStarts& starts, const Output& output) {
  const auto changed = starts.changed();
  std::string text;
  if (programs.isKnown()) {
    for (const auto& program : programs.value()) text += describe(program);
    if (const auto& missing = programs.missing()) text += missing->reason + "\n";
    if (text.empty()) text = "All that have windows can be read.\n";
  } else {
    text = programs.limitation().reason + "\n";
  }
  for (const auto& start : changed) text += describe(start);
  output.print(text);
  return programs.isKnown() ? ExitCode::fine : ExitCode::cannotDoHere;
}

bool isMeant(const std::string& word, const std::string& entry, const std::string& name) {
  const auto wanted = text::lowercased(word);
  return !entry.empty() && (text::lowercased(entry) == wanted || text::lowercased(name) == wanted);
}

// Of a program that runs and cannot be read. Absent: none is called so.
std::optional<ReadableStart> startOf(const std::string& word, const Programs& programs) {
  if (!programs.isKnown()) return std::nullopt;
  for (const auto& program : programs.value()) {
    if (isMeant(word, program.startEntry, program.name)) {
      return ReadableStart{.entry = program.startEntry, .name = program.name};
    }
  }
  return std::nullopt;
}

std::optional<ReadableStart> changedStart(const std::string& word, platform::ReadableStarts& starts) {
  const auto changed = starts.changed();
  const auto found = std::find_if(changed.begin(), changed.end(),
                                  [&](const ReadableStart& start) { return isMeant(word, start.entry, start.name); });
  return found == changed.end() ? std::nullopt : std::optional(*found);
}

ExitCode fail(const std::string& sentence, const Output& output) {
  output.printError(sentence + "\n");
  return ExitCode::problemFound;
}

ExitCode undo(const std::string& word, platform::ReadableStarts& starts, const Output& output) {
  const auto start = changedStart(word, starts);
  if (!start) return fail("Nothing was changed here for " + printableText(word) + ".", output);
  if (const auto problem = starts.undo(start->entry)) return fail(*problem, output);
  output.print(printableText(start->name) + " starts from the menu as before.\n");
  return ExitCode::fine;
}

}  // namespace

ExitCode makeReadable(const MakeReadable& command, platform::DesktopCapabilities& capabilities,
                      platform::ReadableStarts* starts, const Output& output) {
  if (!starts) {
    output.printError(kNotHere);
    return ExitCode::cannotDoHere;
  }
  if (command.undoes) return undo(command.program, *starts, output);
  const auto programs = capabilities.unreadablePrograms();
  if (command.program.empty()) return list(programs, *starts, output);
  if (changedStart(command.program, *starts)) {
    output.print("It starts readable from the menu already. End it and start it again there.\n");
    return ExitCode::fine;
  }
  const auto start = startOf(command.program, programs);
  if (!start && !programs.isKnown()) {
    output.printError(programs.limitation().reason + "\n");
    return ExitCode::cannotDoHere;
  }
  if (!start) {
    const auto& missing = programs.missing();
    return fail("No running program of that name can be mended so. \"quillard readable\" lists those that can." +
                    (missing ? " " + missing->reason : ""),
                output);
  }
  if (const auto problem = starts->change(start->entry)) return fail(*problem, output);
  output.print("From the menu, " + printableText(start->name) +
               " starts so that it can be read from now on. End it and start it again there.\n");
  return ExitCode::fine;
}

}  // namespace quillard::app
