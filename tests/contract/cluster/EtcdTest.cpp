#include <cstdlib>

#include <boost/asio/io_context.hpp>

#include "companion/relay/server/EtcdStore.h"
#include "contract/cluster/ClusterStoreContract.h"
#include "contract/support/EtcdMembers.h"

namespace quillard::test {
namespace {

using relayserver::EtcdOptions;
using relayserver::EtcdStore;

class NoLog final : public relayserver::EventLog {
 public:
  void note(std::string_view) override {}
  void warn(std::string_view) override {}
};

// One engine for all tests of this program; each test has a prefix of its own.
EtcdMembers& sharedMember() {
  static EtcdMembers members(1);
  return members;
}

EtcdOptions options() {
  static int tests = 0;
  EtcdOptions made{.prefix = "test-" + std::to_string(++tests) + "/"};
  for (const auto port : sharedMember().ports()) made.members.push_back({"127.0.0.1", port});
  return made;
}

class EtcdBinding final : public ClusterStoreBinding {
 public:
  relayserver::ClusterStore& store(int client) override { return client == 0 ? one : other; }
  bool runUntil(const std::function<bool()>& holds) override {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!holds() && std::chrono::steady_clock::now() < latest) {
      loop.restart();
      loop.run_for(std::chrono::milliseconds(2));
    }
    return holds();
  }
  void compact() override {
    std::optional<relayserver::ClusterReading> all;
    one.readAll("", [&](auto reading) { all = reading; });
    ASSERT_TRUE(runUntil([&] { return all.has_value(); }));
    EXPECT_EQ(sharedMember().control({"compact", std::to_string(all->revision)}), 0);
  }

 private:
  boost::asio::io_context loop{1};
  NoLog log;
  const EtcdOptions shared = options();
  EtcdStore one{loop, shared, log};
  EtcdStore other{loop, shared, log};
};

INSTANTIATE_TEST_SUITE_P(Etcd, ClusterStoreContract,
                         testing::Values(ClusterStoreBindingCase{"Etcd", [] { return std::make_unique<EtcdBinding>(); },
                                                                 [] { return EtcdMembers::isInstalled(); },
                                                                 EtcdMembers::kMissing}),
                         [](const auto& bindingCase) { return bindingCase.param.name; });

}  // namespace
}  // namespace quillard::test
