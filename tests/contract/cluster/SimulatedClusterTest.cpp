#include "companion/relay/cluster/SimulatedClusterStore.h"
#include "contract/cluster/ClusterStoreContract.h"

namespace quillard::test {
namespace {

class SimulatedBinding final : public ClusterStoreBinding {
 public:
  relayserver::ClusterStore& store(int client) override { return client == 0 ? one : other; }
  bool runUntil(const std::function<bool()>& holds) override {
    constexpr std::chrono::milliseconds kStep{10};
    for (int i = 0; i < 3'000 && !holds(); ++i) engine.advance(kStep);
    return holds();
  }
  void compact() override { engine.compact(); }

 private:
  relayserver::SimulatedClusterEngine engine;
  relayserver::SimulatedClusterStore one{engine};
  relayserver::SimulatedClusterStore other{engine};
};

INSTANTIATE_TEST_SUITE_P(Simulated, ClusterStoreContract,
                         testing::Values(ClusterStoreBindingCase{"Simulated",
                                                                 [] { return std::make_unique<SimulatedBinding>(); },
                                                                 [] { return true; }, ""}),
                         [](const auto& bindingCase) { return bindingCase.param.name; });

}  // namespace
}  // namespace quillard::test
