#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// A session bus of the test's own, on which nothing is started by itself. Its servers and folders go with this object,
// and also when the test is killed.
class PrivateBus {
 public:
  PrivateBus();

  [[nodiscard]] const std::string& address() const { return busAddress; }
  // What a program of this session is to be started with; `more` besides ("NAME=value").
  [[nodiscard]] std::vector<std::string> environment(const std::vector<std::string>& more = {}) const;
  // A folder of the session: "run", "data", "config", "cache".
  [[nodiscard]] std::string folder(const std::string& name) const { return home.path() + "/" + name; }
  // Without warning. It can be started again, under the same address.
  void kill() { bus.reset(); }
  void start();

 private:
  const TemporaryFolder home;
  std::unique_ptr<ChildProcess> bus;
  std::string busAddress;
};

}  // namespace quillard::test
