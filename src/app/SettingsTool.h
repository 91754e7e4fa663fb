#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agent/SettingsChange.h"
#include "agent/configuration/AgentConfiguration.h"
#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/process/LockFiles.h"
#include "platform/storage/UserDefaults.h"
#include "relay/PairingConfiguration.h"

// Shows and sets what a person can set. Main thread.
namespace quillard::app {

// What became of a change.
struct ChangeOutcome {
  std::optional<std::string> problem{};  // A sentence; absent: it is kept.
  bool isTakenOver = false;              // By an agent that runs.
  bool canBeRepeated = false;            // Nothing is wrong with the change itself.
  // Why it is not on the disk, as a sentence. Absent: it is, or there is a problem.
  std::optional<std::string> unwritten{};
};
// Has a change made by the agent that runs; where none does, makes it here.
using MakeChange = std::function<ChangeOutcome(const SettingsChange&)>;

// The settings as they are kept now.
using OpenSettings = std::function<std::unique_ptr<platform::UserDefaults>()>;

// Makes the change where no agent runs: one that does holds the settings in memory, and would write over it. Others
// that change them are kept out from before they are read until they are written.
[[nodiscard]] ChangeOutcome changeHere(const SettingsChange& change, platform::LockFiles& lockFiles,
                                       const OpenSettings& openSettings);

[[nodiscard]] ExitCode setRelay(const SetRelay& command, PairingConfiguration& pairing, const MakeChange& makeChange,
                                const Output& output);
[[nodiscard]] ExitCode forgetRelay(PairingConfiguration& pairing, const MakeChange& makeChange, const Output& output);
// Without what is secret in the address. Ends with `problemFound` where there is none.
[[nodiscard]] ExitCode showRelay(const ShowRelay& command, PairingConfiguration& pairing, const Output& output);
// The relay that a test is to try. Absent: there is none, which has been said.
[[nodiscard]] std::optional<RelayLaunchConfiguration> relayToTest(const TestRelay& command,
                                                                  PairingConfiguration& pairing, const Output& output);

[[nodiscard]] ExitCode showSettings(const ShowSettings& command, const AgentConfiguration::Sources& sources,
                                    const Output& output);
[[nodiscard]] ExitCode changeSetting(const ChangeSetting& command, const AgentConfiguration::Sources& sources,
                                     const MakeChange& makeChange, const Output& output);

}  // namespace quillard::app
