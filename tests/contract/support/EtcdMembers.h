#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// The members of an etcd of its own on loopback, for as long as this object lives.
class EtcdMembers {
 public:
  // Whether this machine has etcd; if not, what a test that needs it says when it is skipped.
  [[nodiscard]] static bool isInstalled();
  static constexpr const char* kMissing = "etcd is not installed (Debian: etcd-server): nothing was tested.";

  // Returns when all of them agree on a leader. Throws where they do not in thirty seconds.
  explicit EtcdMembers(int count);

  // "http://127.0.0.1:2379", one of each member.
  [[nodiscard]] std::vector<std::string> urls() const;
  [[nodiscard]] const std::vector<std::uint16_t>& ports() const { return clientPorts; }
  [[nodiscard]] int count() const { return static_cast<int>(members.size()); }
  // The member that leads now; -1: none says so.
  [[nodiscard]] int leader() const;

  // As kill -9 does, and again with what it has on its disk.
  void kill(int member);
  void start(int member);
  // It stands still; `wake` ends that.
  void stop(int member) const;
  void wake(int member) const;
  // etcdctl with these arguments; its exit code.
  int control(const std::vector<std::string>& arguments) const;

 private:
  [[nodiscard]] bool isReady() const;

  const TemporaryFolder place;
  std::vector<std::uint16_t> clientPorts;
  std::vector<std::uint16_t> peerPorts;
  std::vector<std::unique_ptr<ChildProcess>> members;
};

// Ports of this machine that nobody uses now.
[[nodiscard]] std::vector<std::uint16_t> freePorts(int count);

}  // namespace quillard::test
