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

  // For clients: https, for those who show a certificate of the authority. Files, PEM; empty: in clear.
  struct Tls {
    std::string certificate;
    std::string key;
    std::string authority;
  };
  // Returns when all of them agree on a leader. Throws where they do not in thirty seconds.
  explicit EtcdMembers(int count) : EtcdMembers(count, Tls{}) {}
  EtcdMembers(int count, Tls tls);

  // From now on its clients need a user and a password. This user may use keys below the prefix; a root is made, too.
  void demandPassword(const std::string& user, const std::string& password, const std::string& prefix);
  static constexpr const char* kRoot = "root:root";

  // "http://127.0.0.1:2379", or https, one of each member.
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
  [[nodiscard]] std::string clientUrl(std::size_t member) const;
  // etcdctl's, for these members.
  [[nodiscard]] std::vector<std::string> controlCommand(const std::string& endpoints, const std::string& timeout) const;

  const Tls tls;
  const TemporaryFolder place;
  std::vector<std::uint16_t> clientPorts;
  std::vector<std::uint16_t> peerPorts;
  std::vector<std::unique_ptr<ChildProcess>> members;
};

// Ports of this machine that nobody uses now.
[[nodiscard]] std::vector<std::uint16_t> freePorts(int count);

}  // namespace quillard::test
