#include <algorithm>
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
#include "platform/linux/storage/PrivateFile.h"
#include "platform/qt/QtExecutors.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

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

TEST_F(Settings, OfTwoProcessesAreKeptWhicheverWritesLast) {
  auto agent = open();
  auto tool = open();
  tool->set("tool", true);
  tool.reset();
  agent->set("agent", true);
  agent.reset();
  EXPECT_EQ(open()->object("tool"), UserDefaultsValue(true)) << content();
  EXPECT_EQ(open()->object("agent"), UserDefaultsValue(true)) << content();
}

TEST_F(Settings, OfOthersAreReadAlsoWhileAnotherProcessKeepsTheFile) {
  FileUserDefaults agent(folder(), executors, console, FileUserDefaults::kRetryDelay, std::chrono::milliseconds{20});
  open()->set("tool", true);
  const auto held = PrivateFile(folder(), "settings.json", 1024).lock();
  ASSERT_TRUE(held);
  agent.set("agent", true);
  EXPECT_NE(agent.synchronize(), std::nullopt);
  EXPECT_EQ(agent.object("tool"), UserDefaultsValue(true));
  EXPECT_EQ(agent.object("agent"), UserDefaultsValue(true));
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
  const std::string aside = ".damaged-1";
  for (const auto& text : damaged) {
    put(text);
    console.lines.clear();
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

// What stands in the way of every write.
class Obstacle {
 public:
  explicit Obstacle(const std::string& file) : folder(file + ".new") { std::filesystem::create_directories(folder); }
  Obstacle(const Obstacle&) = delete;
  Obstacle& operator=(const Obstacle&) = delete;
  ~Obstacle() { std::filesystem::remove(folder); }

 private:
  const std::string folder;
};

TEST_F(Settings, ThatCouldNotBeWrittenAreWrittenLaterWithoutAnotherChange) {
  put(R"({"version":1,"values":{"old":{"boolean":true}}})");
  FileUserDefaults settings{folder(), executors, console, Seconds{0.02}};
  auto obstacle = std::make_unique<Obstacle>(path());
  settings.remove("old");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_NE(content().find("old"), std::string::npos);
  obstacle.reset();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (content().find("old") != std::string::npos && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(content().find("old"), std::string::npos) << content();
}

TEST_F(Settings, ThatCouldNotBeWrittenAreWrittenAtTheEndAtTheLatest) {
  put(R"({"version":1,"values":{"old":{"boolean":true}}})");
  {
    const auto settings = open();
    auto obstacle = std::make_unique<Obstacle>(path());
    settings->remove("old");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_NE(content().find("old"), std::string::npos);
    obstacle.reset();
  }
  EXPECT_EQ(content().find("old"), std::string::npos) << content();
}

// How many damaged files lie beside the settings.
int damagedFiles(const std::string& folder) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename().string().find("damaged") != std::string::npos) ++count;
  }
  return count;
}

TEST_F(Settings, ThatAreDamagedAreKeptThreeTimesAtMost) {
  for (int i = 1; i <= 10; ++i) {
    put("damage " + std::to_string(i));
    open()->set("fresh", true);
    EXPECT_EQ(damagedFiles(folder()), std::min(i, 3));
  }
  EXPECT_EQ(content(".damaged-1"), "damage 10");
  EXPECT_EQ(content(".damaged-2"), "damage 9");
  EXPECT_EQ(content(".damaged-3"), "damage 8");
}

TEST_F(Settings, ThatAreDamagedAreThisUsersAloneOnceTheyArePutAside) {
  put("damaged");
  ::chmod(path().c_str(), 0666);
  open()->set("fresh", true);
  struct stat status {};
  ASSERT_EQ(::stat(path(".damaged-1").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Settings, ThatAreDamagedGoAWeekAfterTheyWerePutAside) {
  using namespace std::chrono_literals;
  const auto age = [this](const char* suffix, std::chrono::hours by) {
    std::filesystem::last_write_time(path(suffix), std::filesystem::file_time_type::clock::now() - by);
  };
  put("long damaged");
  age("", 10'000h);  // The damage may be old when it is found.
  open()->set("fresh", true);
  put("damaged later");
  open()->set("fresh", true);
  EXPECT_EQ(damagedFiles(folder()), 2);
  age(".damaged-1", 7 * 24h - 1h);
  age(".damaged-2", 7 * 24h + 1h);
  (void)open();
  EXPECT_EQ(damagedFiles(folder()), 1) << "At the next start.";
  const auto settings = open();
  age(".damaged-1", 7 * 24h + 1h);
  settings->set("fresh", false);
  const auto end = std::chrono::steady_clock::now() + 5s;
  while (damagedFiles(folder()) > 0 && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(damagedFiles(folder()), 0) << "And whenever something is written.";
}

TEST_F(Settings, ThatAreDamagedDoNotStayUnderTheNamesOfOlderBuilds) {
  put(R"({"version":1,"values":{}})");
  for (int number = 1; number <= 100; ++number) {
    std::ofstream(path(".damaged-" + std::to_string(number))) << "damaged";
  }
  (void)open();
  EXPECT_EQ(damagedFiles(folder()), 3);
}

TEST_F(Settings, ThatAreDamagedArePutAsideBesideAFolderOfThatName) {
  std::filesystem::create_directories(path(".damaged-3"));
  for (int i = 1; i <= 4; ++i) {
    put("damage " + std::to_string(i));
    open()->set("fresh", true);
    EXPECT_EQ(content(".damaged-1"), "damage " + std::to_string(i));
  }
  EXPECT_TRUE(std::filesystem::is_directory(path(".damaged-3"))) << "It is not ours.";
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
    // The first one lives until it has written, which may take longer than any of these times.
    ASSERT_TRUE(life > 0 || test::waitUntil([&] { return content().find("\"second\"") != std::string::npos; }));
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
