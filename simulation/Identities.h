#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/simulated/SimulatedWorld.h"
#include "relay/InstallationSecrets.h"

namespace quillard::simulation {

// The identities that the agent has had, as they are read from what it stored: what a phone learns from the pairing
// code. One that was never stored anywhere is not known, and no phone pairs with it.
class Identities {
 public:
  // `world` outlives this.
  explicit Identities(platform::simulated::SimulatedWorld& world) : world(world) {}

  // Takes over what is stored now. Cheap.
  void refresh();
  // The agent has registered this bearer token, as it does before it uses an identity; one that it only connects with
  // may be of an identity that it gave up, and asks the relay to revoke. Unknown ones change nothing.
  void presented(const std::string& token);
  // The one that the agent's window shows: the last of those that it stored and those that it has registered.
  // It may be an older one where neither the disk nor the keychain took the newer one. Absent: none.
  [[nodiscard]] const std::optional<InstallationSecrets>& current() const { return newest; }
  // Null when none has this bearer token.
  [[nodiscard]] const InstallationSecrets* ofToken(const std::string& token) const;
  [[nodiscard]] const std::map<std::string, InstallationSecrets>& byToken() const { return all; }

 private:
  void take(const std::optional<InstallationSecrets>& secrets);

  platform::simulated::SimulatedWorld& world;
  std::map<std::string, InstallationSecrets> all;
  std::optional<InstallationSecrets> newest;
  std::set<std::string> texts;  // All stored forms that were read.
};

}  // namespace quillard::simulation
