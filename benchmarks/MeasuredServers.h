#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "support/TemporaryFolder.h"

// The relay and the echoes that it is held against, each a process of its own: what counts is the time that it spends
// on a processor, so that neither the client nor whatever else the machine does counts. QUILLARD_RELAY_PROGRAM and
// QUILLARD_ECHO_PROGRAM name programs that were built in another way than the benchmark.
namespace quillard::benchmarks {

// Throws std::runtime_error where something does not work.
class MeasuredServer {
 public:
  MeasuredServer() = default;
  MeasuredServer(const MeasuredServer&) = delete;
  MeasuredServer& operator=(const MeasuredServer&) = delete;
  virtual ~MeasuredServer() = default;

  [[nodiscard]] virtual pid_t process() const = 0;
  [[nodiscard]] virtual std::uint16_t port() const = 0;
  [[nodiscard]] double processorSeconds() const;
  // KiB, its share of what is shared and what was swapped out included.
  [[nodiscard]] double memory() const;
};

// With limits that no benchmark meets.
class MeasuredRelay final : public MeasuredServer {
 public:
  // In clear, behind a proxy as it were, or with TLS of its own.
  enum class Encryption { none, own };
  // `more`: options of the relay.
  explicit MeasuredRelay(Encryption encryption = Encryption::none, const std::vector<std::string>& more = {});
  [[nodiscard]] pid_t process() const override { return relay.processID(); }
  [[nodiscard]] std::uint16_t port() const override { return relay.port(); }

  void addPairing(const std::string& name);
  // `receiveBuffer`: of the client's socket; 0: as the system has it.
  [[nodiscard]] std::unique_ptr<test::RelayWire> joinAgent(const std::string& pairing) const;
  [[nodiscard]] std::unique_ptr<test::RelayWire> joinPhone(const std::string& pairing, const std::string& device = "A",
                                                           int receiveBuffer = 0) const;

 private:
  [[nodiscard]] std::unique_ptr<test::RelayWire> join(const std::string& query, int receiveBuffer) const;

  std::vector<std::string> argumentsFor(Encryption encryption, const std::vector<std::string>& more);

  const test::TemporaryFolder folder;
  std::string authority;  // Empty: in clear.
  const test::RelayProgram relay;
  test::RelayWire registrar;
};

class MeasuredEcho final : public MeasuredServer {
 public:
  // A program that prints its port.
  explicit MeasuredEcho(const std::vector<std::string>& command);
  ~MeasuredEcho() override { server.kill(); }
  // Of the relay's own library: BareEcho.cpp.
  [[nodiscard]] static std::vector<std::string> bare();

  [[nodiscard]] pid_t process() const override { return server.id(); }
  [[nodiscard]] std::uint16_t port() const override { return boundPort; }
  [[nodiscard]] std::unique_ptr<test::RelayWire> join() const;

 private:
  test::ChildProcess server;
  std::uint16_t boundPort = 0;
};

// A snapshot of the agent with so many bytes of ciphertext, so that each server moves the same bytes.
[[nodiscard]] std::string snapshotOf(std::size_t bytes);

// Sends `count` texts on one wire while they are read from the other, which may be the same. No more than a few are on
// their way at any time: the relay bounds what waits for a reader.
void pass(test::RelayWire& from, test::RelayWire& to, const std::string& text, int count);

}  // namespace quillard::benchmarks
