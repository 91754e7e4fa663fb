#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/relay/server/OutgoingQueue.h"
#include "companion/relay/server/PhonePageFiles.h"
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
  queue.clear(true);
  EXPECT_EQ(queue.messages(), 1U);
  EXPECT_EQ(queue.bytes(), 4U);
  queue.clear(false);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_EQ(queue.bytes(), 0U);
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

}  // namespace
}  // namespace quillard::relayserver
