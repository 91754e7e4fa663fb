#include "contract/desktop/TranslationsContract.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::test {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

class SimulatedTranslationsBinding final : public TranslationsBinding {
 public:
  platform::Translations& translations() override { return world.translations(); }
  std::int32_t processTranslating(const Messages& messages) override {
    for (const auto& [source, shown] : messages) world.translations().teach(kProcess, shown, {source, 1, 1});
    return kProcess;
  }
  std::int32_t endedProcess() override { return kProcess + 1; }

 private:
  static constexpr std::int32_t kProcess = 500;

  SimulatedWorld world{Seed{7}};
};

// A simulated computer as it is at first.
class UntaughtBinding final : public TranslationsBinding {
 public:
  platform::Translations& translations() override { return world.translations(); }
  bool canTell() const override { return false; }
  std::int32_t processTranslating(const Messages&) override { return 500; }
  std::int32_t endedProcess() override { return 501; }

 private:
  SimulatedWorld world{Seed{7}};
};

template <class Binding>
std::unique_ptr<TranslationsBinding> make() {
  return std::make_unique<Binding>();
}

INSTANTIATE_TEST_SUITE_P(Simulated, TranslationsContract,
                         testing::Values(TranslationsCase{"Taught", &make<SimulatedTranslationsBinding>},
                                         TranslationsCase{"Untaught", &make<UntaughtBinding>}),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace quillard::test
