#pragma once

#include <string_view>

// The names under which the agent is known to its system, each spelled here alone. They outlive every version: what an
// older agent stored or locked is found under them.
namespace quillard {

// Of the installed application; also the service under which it keeps its secrets.
inline constexpr std::string_view kAgentIdentifier = "com.quillard.agent";
// The lock that the agent holds while it runs, a file of the user's temporary folder.
inline constexpr std::string_view kInstanceLockFile = "com.quillard.agent.lock";
// The account of the item that holds who this installation is.
inline constexpr std::string_view kSecretsAccount = "installation-secrets-v1";

}  // namespace quillard
