#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/qt/QtExecutors.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::xdg {
namespace {

using platform::UserDefaultsValue;

class RecordingConsole final : public platform::Console {
 public:
  void writeLine(std::string_view line) override {
    const std::lock_guard lock(mutex);
    lines.emplace_back(line);
  }
  std::vector<std::string> lines;

 private:
  std::mutex mutex;
};

class Settings : public testing::Test {
 protected:
  [[nodiscard]] std::string folder() const { return temporary.path() + "/config/quillard"; }
  [[nodiscard]] std::string path(const std::string& suffix = "") const { return folder() + "/settings.json" + suffix; }
  [[nodiscard]] std::string content(const std::string& suffix = "") const {
    std::ostringstream text;
    text << std::ifstream(path(suffix), std::ios::binary).rdbuf();
    return text.str();
  }
  void put(const std::string& text) const {
    std::filesystem::create_directories(folder());
    ::chmod(folder().c_str(), 0700);
    std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;
    ::chmod(path().c_str(), 0600);
  }
  std::unique_ptr<FileUserDefaults> open() { return std::make_unique<FileUserDefaults>(folder(), executors, console); }

  const test::TemporaryFolder temporary;
  qt::QtExecutors executors;
  RecordingConsole console;
};

TEST_F(Settings, KeepDatesAtTheEndsOfTime) {
  open()->set("first", Date::min());
  open()->set("last", Date::max());
  EXPECT_EQ(open()->object("first"), UserDefaultsValue(Date::min()));
  EXPECT_EQ(open()->object("last"), UserDefaultsValue(Date::max()));
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(Settings, AreThisUsersAlone) {
  open()->set("a", true);
  struct stat status {};
  ASSERT_EQ(::stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  ASSERT_EQ(::stat(folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(Settings, ReachTheDiskSoonWithoutBeingClosed) {
  const auto settings = open();
  settings->set("a", std::string("soon"));
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (content().find("soon") == std::string::npos && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_NE(content().find("soon"), std::string::npos);
}

TEST_F(Settings, AreNotWrittenWhenNothingHasChanged) {
  EXPECT_EQ(open()->object("a"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Settings, OfUnknownKindsSurvive) {
  put(R"({"version":1,"values":{"new":{"colour":"blue"},"odd":{"date":"today"},"old":{"boolean":true}}})");
  {
    const auto settings = open();
    EXPECT_EQ(settings->object("new"), UserDefaultsValue());
    EXPECT_EQ(settings->object("odd"), UserDefaultsValue());
    settings->set("old", false);
  }
  EXPECT_NE(content().find(R"("new":{"colour":"blue"})"), std::string::npos) << content();
  EXPECT_NE(content().find(R"("odd":{"date":"today"})"), std::string::npos) << content();
  EXPECT_EQ(open()->object("old"), UserDefaultsValue(false));
}

TEST_F(Settings, ThatCannotBeWrittenDoNotTakeTheOthersAlong) {
  {
    const auto settings = open();
    settings->set("broken", std::string("\xC3\x28"));
    settings->set("whole", std::string("kept"));
    EXPECT_EQ(settings->object("broken"), UserDefaultsValue(std::string("\xC3\x28")));
  }
  EXPECT_EQ(open()->object("whole"), UserDefaultsValue(std::string("kept")));
}

TEST_F(Settings, ThatAreDamagedArePutAsideAndSaidOnce) {
  const std::vector<std::string> damaged{"",
                                         "nonsense",
                                         "[]",
                                         "{}",
                                         R"({"version":1})",
                                         R"({"version":1,"values":[]})",
                                         R"({"version":2,"values":{}})",
                                         R"({"version":"1","values":{}})",
                                         R"({"version":1,"values":{"a":{"boolean":true},"a":{"boolean":false}}})",
                                         R"({"version":1,"values":{"a":)" + std::string(1000, '[') + "}}",
                                         "{\"version\":1,\"values\":{\"a\":{\"text\":\"\xC3\x28\"}}}",
                                         R"({"version":1,"values":{"a":{"text":"\ud800"}}})",
                                         R"({"version":1,"values":{"a":{"number":1e999}}})",
                                         std::string(5'000'000, ' ')};
  int number = 0;
  for (const auto& text : damaged) {
    put(text);
    console.lines.clear();
    const std::string aside = ".damaged-" + std::to_string(++number);
    {
      const auto settings = open();
      settings->set("fresh", true);
    }
    ASSERT_EQ(console.lines.size(), 1U) << text.substr(0, 80);
    EXPECT_EQ(console.lines[0].find("Unable to read the settings: "), 0U);
    EXPECT_NE(console.lines[0].find("settings.json" + aside), std::string::npos) << console.lines[0];
    EXPECT_EQ(content(aside), text);
    EXPECT_EQ(open()->object("fresh"), UserDefaultsValue(true));
  }
}

TEST_F(Settings, ThatOthersMayWriteAreNotBelieved) {
  put(R"({"version":1,"values":{"planted":{"boolean":true}}})");
  ::chmod(path().c_str(), 0666);
  EXPECT_EQ(open()->object("planted"), std::nullopt);
  EXPECT_EQ(console.lines.size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(path(".damaged-1")));
}

TEST_F(Settings, StayInMemoryWhereTheFolderCannotBeUsed) {
  put(R"({"version":1,"values":{}})");
  ::chmod(folder().c_str(), 0777);
  {
    const auto settings = open();
    settings->set("a", true);
    EXPECT_EQ(settings->object("a"), UserDefaultsValue(true));
  }
  EXPECT_EQ(content().find("boolean"), std::string::npos);
  ASSERT_EQ(console.lines.size(), 1U);
  EXPECT_NE(console.lines[0].find("not kept"), std::string::npos);
}

TEST_F(Settings, AreWholeWheneverTheirWriterIsKilled) {
  std::mt19937 random(7);
  double lastSeen = 0;
  for (int life = 0; life < 25; ++life) {
    test::ChildProcess writer({.command = {SETTINGS_WRITER, folder()}, .environment = test::presentEnvironment()});
    ASSERT_EQ(writer.readLine(), "writing");
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
    writer.kill();
    const auto settings = open();
    ASSERT_TRUE(console.lines.empty()) << console.lines[0];
    // The writer sets the first, then the second, to the next number; each state on the disk is one that there was.
    const auto first = settings->object("first");
    const auto second = settings->object("second");
    if (!first) continue;
    const double one = std::get<double>(*first);
    const double two = second ? std::get<double>(*second) : one - 1;
    EXPECT_TRUE(two == one || two == one - 1) << one << " " << two;
    EXPECT_GE(one, lastSeen);
    lastSeen = one;
  }
  EXPECT_GT(lastSeen, 0);
  EXPECT_LE(std::distance(std::filesystem::directory_iterator(folder()), {}), 2);  // And at most one unfinished file.
}

}  // namespace
}  // namespace quillard::xdg
