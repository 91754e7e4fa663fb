#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/storage/FileSecrets.h"
#include "support/TemporaryFolder.h"

namespace quillard::xdg {
namespace {

using platform::SecretStatusCode;

class SecretFile : public testing::Test {
 protected:
  [[nodiscard]] std::string folder() const { return temporary.path() + "/data/quillard"; }
  [[nodiscard]] std::string path() const { return folder() + "/secrets"; }
  [[nodiscard]] std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path(), std::ios::binary).rdbuf();
    return text.str();
  }
  void put(const std::string& text) const { std::ofstream(path(), std::ios::binary | std::ios::trunc) << text; }
  static mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
  }
  // That nothing can be read or changed, and that the file stays as it is.
  void expectRefusal(SecretStatusCode code) {
    const std::string before = content();
    EXPECT_EQ(secrets.copyMatching("s", "a").status.code, code);
    EXPECT_EQ(secrets.add("s", "new", Secret("x")).code, code);
    EXPECT_EQ(secrets.update("s", "a", Secret("x")).code, code);
    EXPECT_EQ(secrets.remove("s", "a").code, code);
    EXPECT_EQ(content(), before);
  }

  const test::TemporaryFolder temporary;
  FileSecrets secrets{folder()};
};

TEST_F(SecretFile, IsThisUsersAloneAndSoIsItsFolder) {
  const mode_t before = ::umask(0);
  EXPECT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  ::umask(before);
  EXPECT_EQ(modeOf(path()), 0600U);
  EXPECT_EQ(modeOf(folder()), 0700U);
}

TEST_F(SecretFile, IsNotMadeByReading) {
  EXPECT_EQ(secrets.copyMatching("s", "a").status.code, SecretStatusCode::itemNotFound);
  EXPECT_EQ(secrets.remove("s", "a").code, SecretStatusCode::itemNotFound);
  EXPECT_FALSE(std::filesystem::exists(folder()));
}

TEST_F(SecretFile, ThatOthersMayReadIsRefused) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  for (const mode_t mode : {0640U, 0604U, 0620U, 0601U}) {
    ASSERT_EQ(::chmod(path().c_str(), mode), 0);
    expectRefusal(SecretStatusCode::accessDenied);
  }
  ASSERT_EQ(::chmod(path().c_str(), 0600), 0);
  EXPECT_EQ(secrets.copyMatching("s", "a").data.text(), "x");
}

TEST_F(SecretFile, InAFolderThatOthersMayEnterIsRefused) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  ASSERT_EQ(::chmod(folder().c_str(), 0755), 0);
  expectRefusal(SecretStatusCode::accessDenied);
}

TEST_F(SecretFile, OfAnotherUserIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can give a file to another user.";
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  constexpr uid_t kOtherUser = 65534;
  ASSERT_EQ(::chown(path().c_str(), kOtherUser, kOtherUser), 0);
  expectRefusal(SecretStatusCode::accessDenied);
  ASSERT_EQ(::chown(path().c_str(), 0, 0), 0);
  ASSERT_EQ(::chown(folder().c_str(), kOtherUser, kOtherUser), 0);
  expectRefusal(SecretStatusCode::accessDenied);
}

TEST_F(SecretFile, BehindALinkIsRefused) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  const std::string elsewhere = temporary.path() + "/elsewhere";
  std::filesystem::rename(path(), elsewhere);
  std::filesystem::create_symlink(elsewhere, path());
  expectRefusal(SecretStatusCode::accessDenied);
  std::filesystem::remove(path());
  std::filesystem::rename(elsewhere, path());
  std::filesystem::rename(folder(), elsewhere);
  std::filesystem::create_directory_symlink(elsewhere, folder());
  expectRefusal(SecretStatusCode::accessDenied);
}

TEST_F(SecretFile, ThatIsNoFileIsRefusedAtOnce) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  std::filesystem::remove(path());
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);  // Opening it would wait for a writer.
  EXPECT_EQ(secrets.copyMatching("s", "a").status.code, SecretStatusCode::accessDenied);
}

TEST_F(SecretFile, ThatIsDamagedIsNeitherReadNorOverwritten) {
  ASSERT_EQ(secrets.add("s", "a", Secret("precious")).code, SecretStatusCode::success);
  const std::string good = content();
  std::vector<std::string> damaged{"",
                                   "{}",
                                   "quillard-secrets 2\n",
                                   good.substr(0, good.size() - 1),
                                   good + good.substr(good.find('\n') + 1),
                                   good + "73 61\n",
                                   good + "73 6 61\n",
                                   good + "zz 61 61\n",
                                   good + "\n",
                                   good + std::string(300'000, '6'),
                                   good + std::string(1, '\0')};
  for (const auto& text : damaged) {
    put(text);
    expectRefusal(SecretStatusCode::other);
  }
  put(good);
  EXPECT_EQ(secrets.copyMatching("s", "a").data.text(), "precious");
}

TEST_F(SecretFile, SaysWhyWithoutShowingAnything) {
  ASSERT_EQ(secrets.add("s", "a", Secret("canarysecret55aa")).code, SecretStatusCode::success);
  put(content() + "damage");
  const std::string text = secrets.copyMatching("s", "a").status.text;
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(text.find("canary"), std::string::npos);
}

TEST_F(SecretFile, TakesWhatAWriteThatWasCutOffHasLeft) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  std::ofstream(path() + ".new") << "half a fi";
  EXPECT_EQ(secrets.update("s", "a", Secret("y")).code, SecretStatusCode::success);
  EXPECT_EQ(secrets.copyMatching("s", "a").data.text(), "y");
  EXPECT_FALSE(std::filesystem::exists(path() + ".new"));
}

TEST_F(SecretFile, RefusesToGrowPastItsLargestSizeAndKeepsWhatItHas) {
  ASSERT_EQ(secrets.add("s", "a", Secret("x")).code, SecretStatusCode::success);
  EXPECT_EQ(secrets.add("s", "b", Secret(std::string(200'000, 'x'))).code, SecretStatusCode::other);
  EXPECT_EQ(secrets.copyMatching("s", "a").data.text(), "x");
}

TEST_F(SecretFile, KeepsItemsOfThreadsThatAddAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back(
        [this, i] { EXPECT_EQ(secrets.add("s", std::to_string(i), Secret("x")).code, SecretStatusCode::success); });
  }
  for (auto& thread : threads) thread.join();
  for (int i = 0; i < 8; ++i) EXPECT_EQ(secrets.copyMatching("s", std::to_string(i)).data.text(), "x");
}

}  // namespace
}  // namespace quillard::xdg
