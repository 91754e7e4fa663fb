#pragma once

#include <optional>
#include <string>
#include <vector>

#include "packaging/completions/CommandDescription.h"

// What manual pages, in man(7), have to do with descriptions of command lines. Functions of their arguments.
namespace quillard::completions {

// The options of `command` as entries of a manual page, one group after another. `environmentPrefix`: each option is
// also a variable whose name begins so; empty: none is.
[[nodiscard]] std::string optionEntries(const CommandDescription& command, const std::string& environmentPrefix);
// The subcommands of `program` with their arguments and options, as entries.
[[nodiscard]] std::string commandEntries(const CommandDescription& program);

// The variable of an option: "--tls-key" is QUILLARD_RELAY_TLS_KEY, where "QUILLARD_RELAY_" is the prefix.
[[nodiscard]] std::string variableOf(const std::string& option, const std::string& environmentPrefix);

// What `page` does not say: each command or option of `program` that its entry does not name, as "relay set --key".
[[nodiscard]] std::vector<std::string> missingIn(const std::string& page, const CommandDescription& program);

}  // namespace quillard::completions
