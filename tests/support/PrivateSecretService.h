#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// A session bus of the test's own, on which nothing is started by itself, and a real Secret Service on it when asked.
// Folders and servers go with this object, and also when the test is killed.
class PrivateSecretService {
 public:
  PrivateSecretService();

  // Starts the service over the same keyrings as before. Unlocked, it makes the default keyring when there is none.
  void startUnlocked();
  void startLocked();
  // Without warning.
  void killService();
  // It keeps its name on the bus, and answers no request.
  void pauseService() const;
  void killBus();

  [[nodiscard]] const std::string& busAddress() const { return address; }
  [[nodiscard]] std::string folder(const std::string& name) const { return home.path() + "/" + name; }
  // Whether some program on the bus goes by this name now.
  [[nodiscard]] bool isNameOwned(const std::string& name) const;

 private:
  void start(bool isUnlocked);
  [[nodiscard]] std::vector<std::string> environment() const;

  const TemporaryFolder home;
  std::unique_ptr<ChildProcess> bus;
  std::string address;
  std::unique_ptr<ChildProcess> service;
};

}  // namespace quillard::test
