#include "contract/desktop/TranslationsContract.h"
#include "platform/macos/MacTranslations.h"

namespace quillard::test {
namespace {

class MacTranslationsBinding final : public TranslationsBinding {
 public:
  platform::Translations& translations() override { return macTranslations; }
  bool canTell() const override { return false; }
  std::int32_t processTranslating(const Messages&) override { return 500; }
  std::int32_t endedProcess() override { return 501; }

 private:
  macos::MacTranslations macTranslations;
};

INSTANTIATE_TEST_SUITE_P(Mac, TranslationsContract,
                         testing::Values(TranslationsCase{"Mac",
                                                          []() -> std::unique_ptr<TranslationsBinding> {
                                                            return std::make_unique<MacTranslationsBinding>();
                                                          }}),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace quillard::test
