#pragma once

#include <optional>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/storage/SecretStore.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {

// Where the code is to be shown.
struct TerminalFacts {
  bool isTerminal = false;
  std::optional<int> columns;  // Absent: not known.
};

// Shows the pairing code, or the text that it holds: that line is then all that is printed, so that another program can
// read it. An identity that could not be read from the keychain is never replaced by another one here:
// no agent would go by that.
ExitCode showPairingCode(const ShowPairingCode& command, const TerminalFacts& terminal, PairingConfiguration& pairing,
                         platform::SecretStore& secretStore, const Output& output);

}  // namespace quillard::app
