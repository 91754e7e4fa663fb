#pragma once

#include <string>
#include <variant>
#include <vector>

#include "companion/relay/app/RelayCommandLine.h"

namespace quillard::relayserver {

// What `quillard-relay backup` was asked for.
struct RelayBackupOptions {
  std::string database;
  std::string copy;
};

[[nodiscard]] std::variant<RelayBackupOptions, CommandLineMessage> readBackupOptions(
    const std::vector<std::string>& arguments);
void withBackupCommandLine(const UseCommandLine& use);

}  // namespace quillard::relayserver
