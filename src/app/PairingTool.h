#pragma once

#include <optional>
#include <string_view>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "foundation/UserTexts.h"
#include "platform/process/Clock.h"
#include "platform/storage/SecretStore.h"
#include "platform/storage/UserDefaults.h"
#include "relay/PairingConfiguration.h"
#include "values/Secret.h"

namespace quillard::app {

// What a terminal shows: English in every language, since other programs match it.
[[nodiscard]] UserTexts terminalTexts(const UserTexts& texts);

// Where the code is to be shown.
struct TerminalFacts {
  bool isTerminal = false;
  std::optional<int> columns;  // Absent: not known.
};

// Shows the pairing code, or the text that it holds: that line is then all that is printed, so that another program can
// read it. An identity that could not be read from the keychain is never replaced by another one here:
// no agent would go by that.
ExitCode showPairingCode(const ShowPairingCode& command, const TerminalFacts& terminal, PairingConfiguration& pairing,
                         platform::SecretStore& secretStore, const Output& output, const UserTexts& say = {});

// Whether a phone has joined the first pairing, whose code is then for nobody else.
[[nodiscard]] bool isFirstCodeUsed(PairingConfiguration& pairing, platform::UserDefaults& settings,
                                   const platform::Clock& clock);

// Absent: it may be shown where `command` wants it. Else the refusal was printed.
[[nodiscard]] std::optional<ExitCode> refusalToShow(const ShowPairingCode& command, const TerminalFacts& terminal,
                                                    const Output& output);
// The code that holds `text`, or the text. `lifetime`: how long it is good for, printed below; may be empty.
ExitCode showCodeOf(const Secret& text, const ShowPairingCode& command, const TerminalFacts& terminal,
                    const Output& output, std::string_view lifetime, const UserTexts& say = {});

}  // namespace quillard::app
