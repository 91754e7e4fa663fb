#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// The real relay, on a free port of this machine, with a database of its own that outlives a restart.
class RelayProgram {
 public:
  // Beside where to listen and where to keep its database.
  explicit RelayProgram(std::vector<std::string> arguments = {});

  [[nodiscard]] std::uint16_t port() const { return boundPort; }
  // Absent: it has no listener for metrics.
  [[nodiscard]] std::optional<std::uint16_t> metricsPort() const { return boundMetricsPort; }
  [[nodiscard]] const std::string& folder() const { return place.path(); }

  [[nodiscard]] pid_t processID() const { return process->id(); }

  void signal(int number) const;
  // Its exit code, within ten seconds.
  [[nodiscard]] std::optional<int> wait() { return process->wait(); }
  // As kill -9 does, and again with the same database.
  void killAndRestart();
  // The same with an empty database, and on the same port.
  void loseDatabaseAndRestart();
  // All that it has said so far, on both streams and over all its lives.
  [[nodiscard]] std::string output() const;

 private:
  // 0: on any port that is free.
  void start(std::uint16_t port = 0);

  const TemporaryFolder place;
  const std::vector<std::string> arguments;
  std::string said;
  std::unique_ptr<ChildProcess> process;
  std::uint16_t boundPort = 0;
  std::optional<std::uint16_t> boundMetricsPort;
};

}  // namespace quillard::test
