#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/relay/server/OutgoingQueue.h"
#include "companion/relay/server/PhonePageFiles.h"
#include "companion/relay/server/ProcessMemory.h"
#include "support/TemporaryFolder.h"

namespace quillard::relayserver {
namespace {

TEST(OutgoingQueue, HasABoundInBytesAndOneInMessages) {
  const auto text = [](std::size_t size) { return std::make_shared<const std::string>(size, 'x'); };
  OutgoingQueue queue(10, 3);
  EXPECT_TRUE(queue.push(text(4)));
  EXPECT_TRUE(queue.push(text(6)));
  EXPECT_FALSE(queue.push(text(1)));
  queue.pop();
  EXPECT_TRUE(queue.push(text(4)));
  queue.pop();
  EXPECT_TRUE(queue.push(text(0)));
  EXPECT_TRUE(queue.push(text(0)));
  EXPECT_FALSE(queue.push(text(0)));
  (void)queue.clear(true);
  EXPECT_EQ(queue.messages(), 1U);
  EXPECT_EQ(queue.bytes(), 4U);
  (void)queue.clear(false);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_EQ(queue.bytes(), 0U);
}

TEST(OutgoingQueue, GivesBackWhatIsNotSentAndHadANumber) {
  const auto text = std::make_shared<const std::string>("x");
  const auto numbers = [](const std::vector<OutgoingQueue::Entry>& entries) {
    std::vector<std::uint64_t> found;
    for (const auto& entry : entries) found.push_back(entry.number);
    return found;
  };
  OutgoingQueue queue(100, 10);
  for (const std::uint64_t number : {1U, 2U, 0U, 3U}) EXPECT_TRUE(queue.push(text, number));
  EXPECT_EQ(queue.pop().number, 1U);
  EXPECT_EQ(numbers(queue.clear(true)), std::vector<std::uint64_t>{3}) << "The second one is being sent.";
  EXPECT_EQ(queue.pop().number, 2U);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_EQ(numbers(queue.clear(true)), std::vector<std::uint64_t>{});
  EXPECT_TRUE(queue.push(text, 4));
  EXPECT_EQ(numbers(queue.clear(false)), std::vector<std::uint64_t>{4});
  EXPECT_EQ(queue.bytes(), 0U);
}

TEST(OutgoingQueue, HoldsItsShareOfWhatOthersHoldToo) {
  const auto snapshot = std::make_shared<const std::string>(900, 'x');
  OutgoingQueue one(10'000, 10);
  OutgoingQueue other(10'000, 10);
  EXPECT_TRUE(one.push(snapshot));
  EXPECT_TRUE(other.push(snapshot));
  EXPECT_TRUE(one.push(std::make_shared<const std::string>(50, 'x')));
  EXPECT_EQ(one.ownBytes(), 900U / 3 + 50);
  EXPECT_EQ(other.ownBytes(), 900U / 3);
  (void)one.clear(false);
  EXPECT_EQ(other.ownBytes(), 900U / 2);
}

TEST(PhonePage, IsReadFromAFolderWithoutHiddenFilesAndLinks) {
  const test::TemporaryFolder folder;
  const std::string page = folder.path() + "/page";
  ASSERT_EQ(::mkdir(page.c_str(), S_IRWXU), 0);
  ASSERT_EQ(::mkdir((page + "/assets").c_str(), S_IRWXU), 0);
  ASSERT_EQ(::mkdir((page + "/.git").c_str(), S_IRWXU), 0);
  std::string why;
  EXPECT_FALSE(readPhonePage(page, why));
  EXPECT_EQ(why, "there is no index.html");
  for (const char* file : {"/index.html", "/assets/a.css", "/.hidden", "/.git/config"})
    std::ofstream(page + file) << file;
  std::ofstream(folder.path() + "/secret") << "secret";
  ASSERT_EQ(::symlink((folder.path() + "/secret").c_str(), (page + "/link").c_str()), 0);
  const auto read = readPhonePage(page, why);
  ASSERT_TRUE(read) << why;
  EXPECT_EQ(read->fileCount(), 2U);
  EXPECT_EQ(*read->answer({"assets", "a.css"}, "").body, "/assets/a.css");
  EXPECT_EQ(read->answer({"link"}, "").status, 404);
  EXPECT_FALSE(readPhonePage(folder.path() + "/missing", why));
}

TEST(PhonePage, LeavesOutCompressedFormsThatAreOlderThanTheirFile) {
  const test::TemporaryFolder folder;
  namespace fs = std::filesystem;
  const auto put = [&](const std::string& name, const std::string& content, int age) {
    const fs::path file = folder.path() + "/" + name;
    std::ofstream(file) << content;
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(age));
  };
  put("index.html", "changed", 1);
  put("index.html.br", "old", 2);
  put("fresh.css", "plain", 2);
  put("fresh.css.br", "small", 2);
  std::string why;
  const auto page = readPhonePage(folder.path(), why);
  ASSERT_TRUE(page) << why;
  EXPECT_EQ(*page->answer({}, "", {.encoding = "br"}).body, "changed");
  EXPECT_EQ(*page->answer({"fresh.css"}, "", {.encoding = "br"}).body, "small");
}

TEST(ProcessMemory, IsReleasedOnceMostConnectionsHaveEnded) {
  using namespace std::chrono_literals;
  ProcessMemory memory;
  Instant now{1h};
  const auto note = [&](std::size_t connections) {
    now += 6s;
    memory.noteConnections(connections, now);
    return memory.timesReleased();
  };
  EXPECT_EQ(note(60), 0U);
  EXPECT_EQ(note(0), 0U);  // Too few to be worth it.
  EXPECT_EQ(note(1000), 0U);
  EXPECT_EQ(note(501), 0U);
  EXPECT_EQ(note(500), 1U);
  EXPECT_EQ(note(500), 1U);
  EXPECT_EQ(note(400), 1U);
  EXPECT_EQ(note(250), 2U);
}

}  // namespace
}  // namespace quillard::relayserver
