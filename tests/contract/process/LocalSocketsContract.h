#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/process/LocalSockets.h"

namespace quillard::test {

// A folder of one user, and two processes that listen and connect in it. A binding may have one process be both.
class LocalSocketsBinding {
 public:
  LocalSocketsBinding() = default;
  LocalSocketsBinding(const LocalSocketsBinding&) = delete;
  LocalSocketsBinding& operator=(const LocalSocketsBinding&) = delete;
  virtual ~LocalSocketsBinding() = default;

  virtual platform::LocalSockets& server() = 0;
  virtual platform::LocalSockets& client() = 0;
  // What the system says of the client's process.
  virtual platform::ProcessDescription clientProcess() = 0;
  // Of a process that listened and was killed.
  virtual void leaveSocketBehind(const std::string& name) = 0;
  virtual bool holds(const std::string& name) = 0;
  virtual void makeFolderUnusable() = 0;
  virtual bool eventually(const std::function<bool()>& condition) = 0;
};

using MakeLocalSockets = std::unique_ptr<LocalSocketsBinding> (*)();

class LocalSocketsContract : public testing::TestWithParam<MakeLocalSockets> {
 protected:
  // One side of a connection, and what came to it.
  struct Side {
    std::unique_ptr<platform::LocalConnection> connection;
    std::string received;
    int ends = 0;

    void start();
  };

  [[nodiscard]] std::unique_ptr<platform::LocalListener> listen(const std::string& name = "contract.socket");
  // The client's side; empty unless connected.
  [[nodiscard]] std::unique_ptr<Side> connect(const std::string& name = "contract.socket");
  platform::LocalConnectOutcome outcomeOf(const std::string& name = "contract.socket") {
    return binding->client().connect(name).outcome;
  }
  bool eventually(const std::function<bool()>& condition) { return binding->eventually(condition); }

  const std::unique_ptr<LocalSocketsBinding> binding = GetParam()();
  std::vector<std::unique_ptr<Side>> accepted;  // The listeners' sides, started.
  bool startsAccepted = true;
};

}  // namespace quillard::test
