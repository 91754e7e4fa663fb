#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "contract/desktop/TranslationsContract.h"
#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/catalogues/TestCatalogues.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {
namespace {

// This very process maps catalogues, as a program does that translates its texts. What belongs to its user counts as
// protected.
class LinuxTranslationsBinding final : public TranslationsBinding {
 public:
  ~LinuxTranslationsBinding() override {
    for (void* mapped : mappings) ::munmap(mapped, kMapped);
  }

  platform::Translations& translations() override { return linuxTranslations; }

  std::int32_t processTranslating(const Messages& messages) override {
    const std::string path = folder.path() + "/asker" + std::to_string(mappings.size()) + ".mo";
    std::ofstream(path, std::ios::binary) << catalogues::test::gettextCatalogue(messages);
    ::chmod(path.c_str(), 0600);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void* mapped = ::mmap(nullptr, kMapped, PROT_READ, MAP_PRIVATE, file, 0);
    ::close(file);
    EXPECT_NE(mapped, MAP_FAILED);
    if (mapped != MAP_FAILED) mappings.push_back(mapped);
    return static_cast<std::int32_t>(::getpid());
  }

  std::int32_t endedProcess() override {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return static_cast<std::int32_t>(child);
  }

 private:
  static constexpr std::size_t kMapped = 1;

  TemporaryFolder folder;
  std::vector<void*> mappings;
  catalogues::LinuxTranslations linuxTranslations{
      {.shareFolder = "/nowhere", .protectingUser = ::getuid(), .ownLocale = "", .languageOf = {}}};
};

INSTANTIATE_TEST_SUITE_P(Linux, TranslationsContract,
                         testing::Values(TranslationsCase{"Linux",
                                                          []() -> std::unique_ptr<TranslationsBinding> {
                                                            return std::make_unique<LinuxTranslationsBinding>();
                                                          }}),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace quillard::test
