#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// The relay that was built with this test, or another one that QUILLARD_RELAY_PROGRAM names in the environment.
[[nodiscard]] std::string relayProgram();

// The real relay, on a free port of this machine, with a database of its own that outlives a restart. Where
// QUILLARD_TEST_CLUSTER is set, it is several of them over one etcd, and each client reaches another one of them.
class RelayProgram {
 public:
  // Beside where to listen and where to keep its database.
  explicit RelayProgram(std::vector<std::string> arguments = {});

  // How many relays it is. Zero: it should be several, and cannot, since there is no etcd.
  [[nodiscard]] static int relayCount();

  // Of several, another one each time.
  [[nodiscard]] std::uint16_t port() const { return instances[isOneUsed ? 0 : next++ % instances.size()].port; }
  // Of several, the first alone from now on: for what each counts for itself.
  void useOne() { isOneUsed = true; }
  // Absent: it has no listener for metrics. Of several, that of the first.
  [[nodiscard]] std::optional<std::uint16_t> metricsPort() const { return instances.front().metricsPort; }
  [[nodiscard]] const std::string& folder() const { return place.path(); }

  [[nodiscard]] pid_t processID() const { return instances.front().process->id(); }

  // To all of them.
  void signal(int number) const;
  // Its exit code, within ten seconds; of several the highest.
  [[nodiscard]] std::optional<int> wait();
  // As kill -9 does, and again with the same database.
  void killAndRestart();
  // The same with an empty database, and on the same port.
  void loseDatabaseAndRestart();
  // All that it has said so far, on both streams and over all its lives.
  [[nodiscard]] std::string output() const;

 private:
  struct Instance {
    std::unique_ptr<ChildProcess> process;
    std::uint16_t port = 0;
    std::optional<std::uint16_t> metricsPort;
  };
  void start();
  // `instance.port` 0: on any port that is free.
  void start(std::size_t number, Instance& instance);
  void readAddresses(Instance& instance);
  [[nodiscard]] std::string file(std::size_t number, const std::string& name) const;
  [[nodiscard]] std::vector<std::string> clusterArguments(std::size_t number) const;

  const TemporaryFolder place;
  const std::vector<std::string> arguments;
  std::string prefix;  // Of several: of their keys.
  std::string said;
  std::vector<Instance> instances;
  mutable std::size_t next = 0;
  bool isOneUsed = false;
};

}  // namespace quillard::test
