#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/system/LinuxMemoryTrim.h"

namespace quillard::desktop {
namespace {

constexpr const char* kNoStandardHeap = "The heap of a sanitizer is none of the standard library's.";

bool hasStandardHeap() {
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
  return false;
#endif
#endif
  return true;
}

// In kilobytes, of this process: "RssAnon", "RssFile".
long sizeOf(const std::string& kind) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    std::istringstream words(line);
    std::string name;
    long kilobytes = 0;
    words >> name >> kilobytes;
    if (name == kind + ":") return kilobytes;
  }
  ADD_FAILURE() << kind;
  return 0;
}

std::string written = "before";

struct Shape {
  virtual ~Shape() = default;
  [[nodiscard]] virtual int corners() const = 0;
};
struct Square : Shape {
  [[nodiscard]] int corners() const override { return 4; }
};

TEST(LinuxMemoryTrim, LetsGoOfPagesThatAreOnTheDiskAnyway) {
  const long before = sizeOf("RssFile");
  trimMemory();
  EXPECT_LT(sizeOf("RssFile"), before * 3 / 4);
}

TEST(LinuxMemoryTrim, KeepsEverythingThatWasWrittenOrRelocated) {
  const std::unique_ptr<Shape> shape = std::make_unique<Square>();
  written = "a text that was written to the program's own data";
  trimMemory();
  EXPECT_EQ(written, "a text that was written to the program's own data");
  EXPECT_EQ(shape->corners(), 4);
  EXPECT_THROW(static_cast<void>(std::vector<int>{}.at(1)), std::out_of_range) << "The tables of unwinding are read.";
}

TEST(LinuxMemoryTrim, LargeBlocksGoWhenTheyAreFreed) {
  if (!hasStandardHeap()) GTEST_SKIP() << kNoStandardHeap;
  keepHeapSmall();
  constexpr std::size_t kPicture = 4 * 1024 * 1024;
  std::vector<char>(kPicture, 'x').clear();  // What was freed once would be kept among the small ones the next time.
  const long before = sizeOf("RssAnon");
  {
    const std::vector<char> picture(kPicture / 2, 'x');
    const std::unique_ptr<char[]> small(new char[64]);
    EXPECT_GT(sizeOf("RssAnon"), before + 1024) << picture.size();
  }
  EXPECT_LT(sizeOf("RssAnon"), before + 512);
}

// What /proc says of the mapping that holds this address; empty when it cannot be read.
std::string mappingOf(const void* address) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream words(line);
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    words >> std::hex >> begin >> dash >> end;
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    if (begin <= place && place < end) return line;
  }
  return {};
}

TEST(LinuxMemoryTrim, ThreadsShareOneHeap) {
  if (!hasStandardHeap()) GTEST_SKIP() << kNoStandardHeap;
  keepHeapSmall();
  std::string mapping;
  std::thread([&] {
    const std::unique_ptr<char[]> block(new char[4096]);
    mapping = mappingOf(block.get());
  }).join();
  EXPECT_NE(mapping.find("[heap]"), std::string::npos) << mapping;
}

TEST(LinuxMemoryTrim, GivesFreeHeapBack) {
  if (!hasStandardHeap()) GTEST_SKIP() << kNoStandardHeap;
  constexpr std::size_t kBlocks = 16 * 1024;
  constexpr std::size_t kBlockSize = 1024;  // Small ones come from the heap that grows, and are not unmapped alone.
  std::vector<std::unique_ptr<std::vector<char>>> blocks;
  for (std::size_t i = 0; i < kBlocks; ++i) blocks.push_back(std::make_unique<std::vector<char>>(kBlockSize, 'x'));
  blocks.erase(blocks.begin(), blocks.end() - 1);  // The last one keeps the heap from shrinking by itself.
  const long before = sizeOf("RssAnon");
  trimMemory();
  EXPECT_LT(sizeOf("RssAnon"), before - 8 * 1024);
}

}  // namespace
}  // namespace quillard::desktop
