#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/storage/SecretStore.h"
#include "values/Time.h"

namespace quillard::xdg {

// One conversation with the Secret Service on the session bus of this process: an encrypted session, and one deadline
// for all that is asked in it. Made for each operation, since the service may be restarted between two of them, and
// used and destroyed on the thread that made it. Nothing in it can show a prompt: what would need one fails as locked.
//
// Every operation fails with the status that says why.
class SecretServiceSession {
 public:
  using Opened = std::variant<std::unique_ptr<SecretServiceSession>, platform::SecretStatus>;
  [[nodiscard]] static Opened open(Seconds timeout);

  SecretServiceSession(const SecretServiceSession&) = delete;
  SecretServiceSession& operator=(const SecretServiceSession&) = delete;
  ~SecretServiceSession();

  [[nodiscard]] platform::SecretReading read(std::string_view service, std::string_view account);
  [[nodiscard]] platform::SecretStatus add(std::string_view service, std::string_view account, const Secret& data);
  [[nodiscard]] platform::SecretStatus update(std::string_view service, std::string_view account, const Secret& data);
  [[nodiscard]] platform::SecretStatus remove(std::string_view service, std::string_view account);

 private:
  struct Parts;
  explicit SecretServiceSession(std::unique_ptr<Parts> parts);

  const std::unique_ptr<Parts> parts;
};

}  // namespace quillard::xdg
