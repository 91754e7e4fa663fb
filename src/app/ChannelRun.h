#pragma once

#include <optional>
#include <string>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "app/PairingTool.h"
#include "app/SettingsTool.h"
#include "foundation/UserTexts.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"
#include "platform/storage/AppendOnlyFile.h"

// The tools that speak to the agent, run in Qt's event loop, whose application object is there. Main thread.
namespace quillard::app {

struct ChannelRunDependencies {
  platform::LocalSockets& localSockets;
  platform::Executors& executors;
  const platform::Clock& clock;
};

// Ends when the question is answered or over, when the process is told to end, and when the process that started it has
// ended: then the question is taken back. Whoever has lost it before asks nothing.
[[nodiscard]] ExitCode runAsk(AskQuestion command, const ChannelRunDependencies& dependencies, const Output& output);

// Only at a terminal does it answer anything.
[[nodiscard]] ExitCode runAnswer(const AnswerQuestion& command, const ChannelRunDependencies& dependencies,
                                 const Output& output);

[[nodiscard]] ExitCode runStatus(const TellStatus& command, const ChannelRunDependencies& dependencies,
                                 const Output& output);

[[nodiscard]] ExitCode runPhones(const ListPhones& command, const ChannelRunDependencies& dependencies,
                                 const Output& output);

// Asks at the terminal before, unless it is confirmed. Ends with `fine` only when something was unpaired.
[[nodiscard]] ExitCode runUnpair(const UnpairPhones& command, const ChannelRunDependencies& dependencies,
                                 const Output& output);

// Has the agent offer a code for one more phone, and shows it.
[[nodiscard]] ExitCode runPairAnother(const ShowPairingCode& command, const TerminalFacts& terminal,
                                      const ChannelRunDependencies& dependencies, const Output& output,
                                      const UserTexts& say = {});
[[nodiscard]] ExitCode runMuted(const ListMuted& command, const ChannelRunDependencies& dependencies,
                                const Output& output);
// Ends with `fine` only when something has changed.
[[nodiscard]] ExitCode runUnmute(const EndMute& command, const ChannelRunDependencies& dependencies,
                                 const Output& output);
[[nodiscard]] ExitCode runMute(const ChangeMute& command, const ChannelRunDependencies& dependencies,
                               const Output& output);

// Prints the log, and where it is followed what is added, until the process is told to end.
[[nodiscard]] ExitCode runLog(const ShowLog& command, platform::AppendOnlyFile& file,
                              const ChannelRunDependencies& dependencies, const Output& output);

// A request whose only answer is that it was done. `name`: of the command.
[[nodiscard]] ExitCode runRequest(const std::string& name, const std::string& line,
                                  const ChannelRunDependencies& dependencies, const Output& output);

// Has the agent that runs make a change. Absent: none runs, or it does not answer.
[[nodiscard]] std::optional<ChangeOutcome> changeThere(const SettingsChange& change,
                                                       const ChannelRunDependencies& dependencies);

}  // namespace quillard::app
