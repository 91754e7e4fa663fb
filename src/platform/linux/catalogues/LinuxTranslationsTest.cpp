#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/catalogues/TestCatalogues.h"
#include "support/TemporaryFolder.h"

namespace quillard::catalogues {
namespace {

using namespace test;
using platform::SourceText;
using platform::SourceTexts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace fs = std::filesystem;

constexpr std::int32_t kProcess = 4711;
const std::string kGtk = "/usr/share/locale/de/LC_MESSAGES/gtk30.mo";
const std::string kOwn = "/usr/share/locale/de/LC_MESSAGES/asker.mo";

// Processes and files of a computer in a folder. What belongs to this test's user counts as protected.
class Computer {
 public:
  Computer() {
    options.processes = folder.path() + "/proc";
    options.shareFolder = root() + "/usr/share";
    options.protectingUser = ::getuid();
    write(options.processes + "/self/mountinfo", "36 35 98:0 / / rw - ext4 /dev/root rw\n");
    start();
  }

  [[nodiscard]] std::string root() const { return folder.path() + "/root"; }

  void start(const std::string& startTime = "12345", std::int32_t number = kProcess) {
    const std::string process = options.processes + "/" + std::to_string(number);
    std::string fields = " S";
    for (int i = 0; i < 18; ++i) fields += " 0";
    write(process + "/stat", std::to_string(number) + " (a (b) c)" + fields + " " + startTime + " 0\n");
    write(process + "/comm", "asker\n");
    write(process + "/mountinfo", "36 35 98:0 / / rw - ext4 /dev/root rw\n");
    fs::create_directories(root());
    if (!fs::exists(process + "/root")) fs::create_directory_symlink(root(), process + "/root");
    write(process + "/maps", "");
  }
  void end() { fs::remove_all(options.processes + "/" + std::to_string(kProcess)); }

  void setMaps(const std::vector<std::string>& paths) {
    std::string maps;
    for (const auto& path : paths) maps += "7f00-7f01 r--p 00000000 08:01 12   " + path + "\n";
    write(options.processes + "/" + std::to_string(kProcess) + "/maps", maps);
  }
  // To any user but the superuser.
  void forbidReading() {
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      if (!entry.is_symlink()) openToAll(entry.path());
    }
    openToAll(folder.path());
    fs::permissions(options.processes + "/" + std::to_string(kProcess) + "/maps", fs::perms::none);
  }
  // Under its path in the process's root folder.
  void install(const std::string& path, const std::string& bytes) {
    fs::remove(root() + path);  // As package managers do: another file takes its place.
    write(root() + path, bytes);
  }
  void map(const std::string& path, const TestMessages& messages) {
    install(path, gettextCatalogue(messages));
    mapped.push_back(path);
    setMaps(mapped);
  }

  static void write(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  }

  TranslationOptions options;

 private:
  static void openToAll(const fs::path& path) {
    constexpr auto kForAll =
        fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec;
    fs::permissions(path, kForAll, fs::perm_options::add);
  }

  quillard::test::TemporaryFolder folder;
  std::vector<std::string> mapped;
};

// The superuser may read everything: gives that up for this thread, and takes it back.
class WithoutPower {
 public:
  WithoutPower() : user(::setfsuid(kNobody)) {}
  WithoutPower(const WithoutPower&) = delete;
  WithoutPower& operator=(const WithoutPower&) = delete;
  ~WithoutPower() { ::setfsuid(static_cast<uid_t>(user)); }

 private:
  static constexpr uid_t kNobody = 65534;
  const int user;
};

class LinuxTranslations_ : public testing::Test {
 protected:
  LinuxTranslations& translations() {
    if (!made) made = std::make_unique<LinuxTranslations>(computer.options);
    return *made;
  }
  SourceTexts ask(const std::vector<std::string>& labels, const std::vector<std::string>& lines = {}) {
    auto texts = translations().sourceTexts({kProcess, labels, lines});
    EXPECT_TRUE(texts);
    return texts.value_or(SourceTexts{});
  }
  std::vector<SourceText> label(const std::string& shown) { return ask({shown}).labels.at(0); }
  std::vector<SourceText> line(const std::string& shown) { return ask({}, {shown}).lines.at(0); }

  Computer computer;

 private:
  std::unique_ptr<LinuxTranslations> made;
};

TEST_F(LinuxTranslations_, GiveTheSourceOfALabelAndHowManyMessagesSaySo) {
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}, {"Stock label\4_Cancel", "_Abbrechen"}, {"_Stop", "_Abbrechen"}});
  computer.map(kOwn, {{"Abort", "Abbrechen"}});
  EXPECT_THAT(label("Abbrechen"),
              ElementsAre(SourceText{"Cancel", 2, 2}, SourceText{"Abort", 1, 1}, SourceText{"Stop", 1, 1}));
  EXPECT_THAT(label("Erlauben"), IsEmpty());
}

TEST_F(LinuxTranslations_, GiveTheSourcesOfALineAsAWholeLineByLineAndWithSomethingPutIn) {
  computer.map(kOwn,
               {{"Delete “%s”?", "Soll „%s“ gelöscht werden?"}, {"This cannot be undone.", "Das ist endgültig."}});
  const std::vector both{SourceText{"Delete “%s”?", 1, 1}, SourceText{"This cannot be undone.", 1, 1}};
  EXPECT_EQ(line("Soll „Brief“ gelöscht werden?\nDas ist endgültig."), both);
  EXPECT_THAT(label("Soll „Brief“ gelöscht werden?"), IsEmpty()) << "Nothing is put into a label.";
}

TEST_F(LinuxTranslations_, AreProtectedOnlyInFilesThatNoOtherUserMayWrite) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 1}));
  fs::permissions(computer.root() + kOwn, fs::perms::owner_all | fs::perms::others_write);
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 0}));
}

TEST_F(LinuxTranslations_, AreNotProtectedInFilesOfAnotherUser) {
  computer.options.protectingUser = ::getuid() + 1;
  computer.map(kOwn, {{"Cancel", "Erlauben"}});
  EXPECT_THAT(label("Erlauben"), ElementsAre(SourceText{"Cancel", 1, 0}));
}

TEST_F(LinuxTranslations_, ReadACatalogueOnceForEachText) {
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  (void)ask({"Abbrechen", "Erlauben"}, {"Ein Satz."});
  (void)ask({"Abbrechen", "Erlauben"}, {"Ein Satz."});
  EXPECT_EQ(translations().readCount(), 1);
  (void)ask({"Abbrechen"}, {"Ein anderer Satz."});
  EXPECT_EQ(translations().readCount(), 2);
}

TEST_F(LinuxTranslations_, ReadACatalogueAnewThatWasReplacedAndKeepWhatTheProcessHad) {
  computer.map(kOwn, {{"Deny", "Ablehnen"}});
  EXPECT_THAT(label("Ablehnen"), ElementsAre(SourceText{"Deny", 1, 1}));
  computer.install(kOwn, gettextCatalogue({{"Reject", "Ablehnen"}}));
  computer.setMaps({kOwn + " (deleted)"});
  EXPECT_THAT(label("Ablehnen"), UnorderedElementsAre(SourceText{"Reject", 1, 1}, SourceText{"Deny", 1, 1}));
  computer.start("999");  // Another process of the same number.
  computer.setMaps({kOwn});
  EXPECT_THAT(label("Ablehnen"), ElementsAre(SourceText{"Reject", 1, 1}));
}

TEST_F(LinuxTranslations_, OpenNoFileThatAnotherProgramServes) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  computer.write(computer.options.processes + "/4711/mountinfo",
                 "36 35 98:0 / / rw - ext4 /dev/root rw\n37 36 0:50 / /usr/share rw - fuse.sshfs x rw\n");
  EXPECT_THAT(label("Abbrechen"), IsEmpty());
}

// What is beyond the end may cover the file.
TEST_F(LinuxTranslations_, OpenNoFileByAListOfMountsThatIsCutOff) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  constexpr std::size_t kLine = 4096;
  const std::string local = "36 35 98:0 / / rw - ext4 /dev/root ";
  std::string list;
  for (int i = 0; i < 1024; ++i) list += local + std::string(kLine - local.size() - 1, 'o') + "\n";  // 4 MiB.
  computer.write(computer.options.processes + "/4711/mountinfo",
                 list + "37 36 0:50 / /usr/share rw - fuse.sshfs x rw\n");
  EXPECT_THAT(label("Abbrechen"), IsEmpty());
}

TEST_F(LinuxTranslations_, FollowNoLinks) {
  computer.install("/tmp/other.mo", gettextCatalogue({{"Cancel", "Erlauben"}}));
  fs::create_directories(computer.root() + "/usr/share/locale/de/LC_MESSAGES");
  fs::create_symlink(computer.root() + "/tmp/other.mo", computer.root() + kOwn);
  computer.setMaps({kOwn});
  EXPECT_THAT(label("Erlauben"), IsEmpty());
}

TEST_F(LinuxTranslations_, PassOverFilesThatAreNoCatalogues) {
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  computer.install(kOwn, "no catalogue");
  fs::create_directories(computer.root() + "/usr/share/folder.mo");
  ASSERT_EQ(::mkfifo((computer.root() + "/usr/share/pipe.mo").c_str(), 0600), 0);
  computer.setMaps({kOwn, "/usr/share/folder.mo", "/usr/share/pipe.mo", "/usr/share/absent.mo", kGtk});
  const auto texts = ask({"Abbrechen"});
  EXPECT_TRUE(texts.isComplete);
  EXPECT_THAT(texts.labels.at(0), ElementsAre(SourceText{"Cancel", 1, 1}));
}

TEST_F(LinuxTranslations_, ReadQtsAndChromiumsCataloguesToo) {
  computer.install("/usr/share/qt6/translations/qtbase_de.qm", qtCatalogue({{"&Yes", {u"&Ja"}}}));
  computer.install("/opt/b/locales/de.pak", chromiumPack({{7, "Zulassen"}}));
  computer.install("/opt/b/locales/en-US.pak", chromiumPack({{7, "Allow"}}));
  computer.setMaps({"/usr/share/qt6/translations/qtbase_de.qm", "/opt/b/locales/de.pak"});
  EXPECT_THAT(label("Ja"), ElementsAre(SourceText{"Yes", 1, 1}));
  EXPECT_THAT(label("Zulassen"), ElementsAre(SourceText{"Allow", 1, 1}));
}

// ---- What they may cost

TestMessages manyMessages(int count) {
  TestMessages messages{{"Cancel", "Abbrechen"}};
  for (int i = 0; i < count; ++i) messages.emplace_back("Source " + std::to_string(i), "Text " + std::to_string(i));
  return messages;
}

TEST_F(LinuxTranslations_, BeyondTheirBudgetAreUnknownAndTheNextRequestGoesOnFromThere) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 4000;
  computer.options.workPerSecond = 100;
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  computer.map(kOwn, manyMessages(40));  // Some 1,500 bytes, and as many to compare.
  computer.map("/usr/share/locale/de/LC_MESSAGES/third.mo", manyMessages(40));
  const auto first = ask({"Abbrechen"});
  EXPECT_FALSE(first.isComplete);
  EXPECT_THAT(first.labels.at(0), ElementsAre(SourceText{"Cancel", 2, 2}));
  now += std::chrono::seconds(40);
  const auto second = ask({"Abbrechen"});
  EXPECT_TRUE(second.isComplete);
  EXPECT_THAT(second.labels.at(0), ElementsAre(SourceText{"Cancel", 3, 3}));
}

// As often as a scan may ask, which is before the budget has grown by what the catalogue costs.
TEST_F(LinuxTranslations_, AreKnownInTheEndHoweverOftenTheyAreAskedFor) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 20'000;
  computer.options.workPerSecond = 2000;
  computer.map(kOwn, manyMessages(100));  // Some 4,000 bytes, and as many to compare.
  while (ask({"Abbrechen"}, {std::string(static_cast<std::size_t>(translations().readCount()) + 1, 'x')}).isComplete) {
  }
  int requests = 0;
  for (; !ask({"Abbrechen"}, {"Noch eine"}).isComplete && requests < 100; ++requests) {
    now += std::chrono::milliseconds(250);
  }
  EXPECT_GT(requests, 5);
  EXPECT_LT(requests, 100);
}

// Else a prompt that counts down would be unknown as often as it is read.
TEST_F(LinuxTranslations_, OfALineThatCountsAreLookedUpOnce) {
  computer.map(kOwn, {{"It ends in %d seconds", "Es endet in %d Sekunden"},
                      {"Enter your password within 30 seconds", "In 30 Sekunden das Wort eingeben"},
                      {"Version 2 of “%s”", "Version 2 von „%s“"},
                      {"Step 1%s", "Der Schritt 1%s"}});
  for (int i = 42; i > 0; --i) {
    EXPECT_THAT(line("Es endet in " + std::to_string(i) + " Sekunden"),
                ElementsAre(SourceText{"It ends in %d seconds", 1, 1}));
  }
  EXPECT_EQ(translations().readCount(), 1);
  EXPECT_THAT(line("In 30 Sekunden das Wort eingeben"),
              ElementsAre(SourceText{"Enter your password within 30 seconds", 1, 1}));
  EXPECT_THAT(line("Version 2 von „Brief“"), ElementsAre(SourceText{"Version 2 of “%s”", 1, 1}));
  EXPECT_THAT(line("Der Schritt 15"), ElementsAre(SourceText{"Step 1%s", 1, 1}));
  const int reads = translations().readCount();
  EXPECT_THAT(line("0:42"), IsEmpty());
  EXPECT_EQ(translations().readCount(), reads) << "a number means nothing";
}

TEST_F(LinuxTranslations_, AskNoProgramWhereTheyAreFromMemory) {
  int asked = 0;
  computer.options.languageOf = [&](std::int32_t) {
    ++asked;
    return ProgramLanguage{"de_DE.UTF-8", "gtk"};
  };
  computer.install(kGtk, gettextCatalogue({{"_Discard", "_Verwerfen"}}));
  const platform::TranslationRequest request{kProcess, {"Verwerfen"}, {}, platform::TranslationLookup::fromMemory};
  EXPECT_FALSE(translations().sourceTexts(request)->isComplete);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(translations().readCount(), 0);
  (void)label("Verwerfen");
  const auto known = translations().sourceTexts(request);
  EXPECT_TRUE(known->isComplete);
  EXPECT_THAT(known->labels.at(0), ElementsAre(SourceText{"Discard", 1, 1}));
}

TEST_F(LinuxTranslations_, OfAllProcessesTogetherMayCostOnlySoMuch) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.workOfAll = 2000;
  computer.options.workOfAllPerSecond = 100;
  computer.map(kOwn, manyMessages(10));
  int known = 0;
  while (known < 100 && ask({"Abbrechen"}, {std::string(static_cast<std::size_t>(known) + 1, 'x')}).isComplete) {
    computer.start(std::to_string(++known));
    computer.setMaps({kOwn});
  }
  EXPECT_GT(known, 0);
  EXPECT_LT(known, 10);
  now += std::chrono::seconds(20);
  EXPECT_TRUE(ask({"Abbrechen"}, {"Noch eine"}).isComplete);
}

// Whoever starts many processes gets no more for that.
TEST_F(LinuxTranslations_, OfAProcessThatWasForgottenForOthersBeginWithNothingToSpend) {
  Instant now{};
  computer.options.now = [&] { return now; };
  for (std::int32_t process = 1; process <= 64; ++process) {
    computer.start("7", process);
    (void)translations().sourceTexts({process, {"Abbrechen"}, {}});
  }
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  EXPECT_FALSE(ask({"Abbrechen"}).isComplete);
  now += std::chrono::seconds(1);
  EXPECT_TRUE(ask({"Abbrechen"}).isComplete);
}

TEST_F(LinuxTranslations_, SayWhenTheProgramHasMoreCataloguesThanAreRead) {
  std::vector<std::string> paths;
  const auto add = [&](std::size_t i) {
    paths.push_back("/usr/share/locale/de/LC_MESSAGES/part" + std::to_string(i) + ".mo");
    computer.install(paths.back(), gettextCatalogue({{"Cancel", "Abbrechen"}}));
    computer.setMaps(paths);
  };
  for (std::size_t i = 0; i < 64; ++i) add(i);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  add(64);
  const auto texts = ask({"Abbrechen"});
  EXPECT_TRUE(texts.isCutOff);
  EXPECT_THAT(texts.areLabelsCutOff, ElementsAre(true));
}

TEST_F(LinuxTranslations_, SayWhenTheListOfWhatTheProgramHasMappedIsCutOff) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  constexpr std::size_t kLines = 100'000;  // Of more than 4 MiB.
  computer.setMaps(std::vector<std::string>(kLines, "/usr/lib/library"));
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
}

TEST_F(LinuxTranslations_, SayWhenACatalogueIsTooLarge) {
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  computer.map(kOwn, {{"Password", "Wort"}});
  fs::resize_file(computer.root() + kOwn, 16 * 1024 * 1024);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  fs::resize_file(computer.root() + kOwn, 16 * 1024 * 1024 + 1);
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
}

TEST_F(LinuxTranslations_, SayOfWhichLabelMoreIsThere) {
  TestMessages messages{{"Cancel", "Abbrechen"}};
  for (int i = 0; i < 17; ++i) messages.emplace_back("Source " + std::to_string(i), "Wort");
  computer.map(kOwn, messages);
  const auto texts = ask({"Abbrechen", "Wort"}, {std::string(1025, 'x')});
  EXPECT_TRUE(texts.isCutOff);
  EXPECT_THAT(texts.areLabelsCutOff, ElementsAre(false, true));
}

TEST_F(LinuxTranslations_, OfManyCataloguesAreKnownAfterSomeRequests) {
  computer.options.work = 1500;
  for (int i = 0; i < 8; ++i) {
    computer.map("/usr/share/locale/de/LC_MESSAGES/part" + std::to_string(i) + ".mo", manyMessages(10));
  }
  int requests = 1;
  auto texts = ask({"Abbrechen"});
  EXPECT_FALSE(texts.isComplete);
  for (; !texts.isComplete && requests < 20; ++requests) texts = ask({"Abbrechen"});
  EXPECT_LT(requests, 20);
  EXPECT_THAT(texts.labels.at(0), ElementsAre(SourceText{"Cancel", 8, 8}));
  EXPECT_EQ(translations().readCount(), 8) << "what was found is not looked for again";
}

TEST_F(LinuxTranslations_, OfOneProcessMayCostOnlySoMuchForEachSecond) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 2000;
  computer.options.workPerSecond = 100;
  computer.map(kOwn, manyMessages(10));
  const auto isKnown = [&](const std::string& line) { return ask({"Abbrechen"}, {line}).isComplete; };
  std::size_t known = 0;
  while (known < 100 && isKnown(std::string(known + 1, 'x'))) ++known;
  EXPECT_GT(known, 0U);
  EXPECT_LT(known, 10U);
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 1})) << "what is known costs nothing";
  now += std::chrono::seconds(3);
  EXPECT_FALSE(isKnown("Another line"));
  now += std::chrono::seconds(17);
  EXPECT_TRUE(isKnown("Another line"));
  computer.start("999");
  computer.setMaps({kOwn});
  EXPECT_TRUE(isKnown("A line of another process"));
}

TEST_F(LinuxTranslations_, SayWhenATextHasMoreSourcesThanAreKept) {
  TestMessages messages;
  for (int i = 0; i < 16; ++i) messages.emplace_back("Source " + std::to_string(i), "Abbrechen");
  computer.map(kOwn, messages);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  messages.emplace_back("Password", "Abbrechen");
  computer.install(kOwn, gettextCatalogue(messages));
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
  EXPECT_FALSE(ask({"Erlauben"}).isCutOff);
}

// A decision asks on a thread that must not wait for the search of a scan.
TEST_F(LinuxTranslations_, AnswerWhileAnotherRequestIsReading) {
  std::promise<void> begun;
  std::promise<void> goOn;
  std::atomic<int> calls = 0;
  computer.options.readFile = [&](const CatalogueFile& file) {
    if (calls++ == 0) {
      begun.set_value();
      goOn.get_future().wait();
    }
    return file.read();
  };
  computer.map(kOwn, {{"Cancel", "Abbrechen"}, {"Allow", "Erlauben"}});
  auto& asked = translations();
  auto slow = std::async(std::launch::async, [&] { return asked.sourceTexts({kProcess, {"Abbrechen"}, {}}); });
  begun.get_future().wait();
  auto quick = std::async(std::launch::async, [&] { return asked.sourceTexts({kProcess, {"Erlauben"}, {}}); });
  const bool isAnswered = quick.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  EXPECT_TRUE(isAnswered);
  EXPECT_EQ(slow.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  goOn.set_value();
  EXPECT_THAT(quick.get()->labels.at(0), ElementsAre(SourceText{"Allow", 1, 1}));
  EXPECT_THAT(slow.get()->labels.at(0), ElementsAre(SourceText{"Cancel", 1, 1}));
}

TEST_F(LinuxTranslations_, ThatCannotBeReadAreUnknown) {
  computer.options.readFile = [](const CatalogueFile&) { return std::nullopt; };
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  const auto texts = ask({"Abbrechen"});
  EXPECT_FALSE(texts.isComplete);
  EXPECT_THAT(texts.labels.at(0), IsEmpty());
}

// ---- Where nothing is mapped

TEST_F(LinuxTranslations_, OfAProcessThatMapsNoneAreThoseOfItsToolkitAndLanguage) {
  computer.options.languageOf = [](std::int32_t) { return ProgramLanguage{"de_DE.UTF-8", "gtk"}; };
  computer.install(kGtk, gettextCatalogue({{"_Discard", "_Verwerfen"}}));
  EXPECT_THAT(label("Verwerfen"), ElementsAre(SourceText{"Discard", 1, 1}));
}

TEST_F(LinuxTranslations_, OfTheSmallTableAreTheLastResortAndNeverProtected) {
  computer.options.languageOf = [](std::int32_t) { return ProgramLanguage{"de_DE.UTF-8", "Qt"}; };
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 0}));
}

TEST_F(LinuxTranslations_, OfAProgramThatDoesNotTellItsLanguageAreInTheOneItWasStartedWithOrOurOwn) {
  computer.options.ownLocale = "pl_PL.UTF-8";
  EXPECT_THAT(label("Anuluj"), ElementsAre(SourceText{"Cancel", 1, 0}));
  computer.start("999");
  computer.write(computer.options.processes + "/4711/environ", std::string("PATH=/bin\0LANG=ja_JP.UTF-8\0", 27));
  EXPECT_THAT(label("キャンセル(C)"), ElementsAre(SourceText{"Cancel", 1, 0}));
  EXPECT_THAT(label("Anuluj"), IsEmpty());
}

TEST_F(LinuxTranslations_, OfAProcessThatMayNotBeReadAreWhereLikely) {
  computer.options.languageOf = [](std::int32_t) { return ProgramLanguage{"de_DE.UTF-8", "Qt"}; };
  computer.forbidReading();
  const WithoutPower nobody;
  const auto texts = ask({"Abbrechen"});
  EXPECT_TRUE(texts.isComplete);
  EXPECT_THAT(texts.labels.at(0), ElementsAre(SourceText{"Cancel", 1, 0}));
}

TEST_F(LinuxTranslations_, AskAProgramForItsLanguageOnce) {
  int asked = 0;
  computer.options.languageOf = [&](std::int32_t) {
    ++asked;
    return ProgramLanguage{"de_DE.UTF-8", "Qt"};
  };
  (void)label("Abbrechen");
  (void)label("Ja");
  EXPECT_EQ(asked, 1);
  computer.start("999");
  (void)label("Ja");
  EXPECT_EQ(asked, 2);
}

// It could make every scan and every decision wait for its time-out.
TEST_F(LinuxTranslations_, DoNotAskAProgramAgainForAWhileThatDidNotAnswer) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.ownLocale = "pl_PL.UTF-8";
  int asked = 0;
  std::optional<ProgramLanguage> language;
  computer.options.languageOf = [&](std::int32_t) {
    ++asked;
    return language;
  };
  for (int i = 0; i < 3; ++i) {
    const auto texts = ask({"Anuluj"});
    EXPECT_FALSE(texts.isComplete) << "it may be in another language";
    EXPECT_THAT(texts.labels.at(0), ElementsAre(SourceText{"Cancel", 1, 0}));
  }
  now += std::chrono::milliseconds(9999);
  (void)label("Anuluj");
  EXPECT_EQ(asked, 1);
  now += std::chrono::milliseconds(1);
  language = ProgramLanguage{"pl_PL.UTF-8", "Qt"};
  EXPECT_TRUE(ask({"Anuluj"}).isComplete);
  EXPECT_EQ(asked, 2);
}

TEST_F(LinuxTranslations_, DoNotForgetThatAProgramDidNotAnswerWhenOthersCome) {
  computer.options.now = [] { return Instant{}; };
  int asked = 0;
  computer.options.languageOf = [&](std::int32_t process) {
    if (process == kProcess) ++asked;
    return process == kProcess ? std::nullopt : std::optional(ProgramLanguage{"pl_PL.UTF-8", "Qt"});
  };
  (void)label("Anuluj");
  for (std::int32_t process = 1; process <= 65; ++process) {
    computer.start("7", process);
    (void)translations().sourceTexts({process, {"Anuluj"}, {}});
  }
  (void)label("Anuluj");
  EXPECT_EQ(asked, 1);
}

TEST_F(LinuxTranslations_, OfAnEnglishProgramAreNone) {
  computer.options.languageOf = [](std::int32_t) { return ProgramLanguage{"C", "gtk"}; };
  computer.options.ownLocale = "de_DE.UTF-8";
  EXPECT_THAT(label("Abbrechen"), IsEmpty());
}

TEST_F(LinuxTranslations_, OfAProcessThatHasEndedCouldNotBeLookedAt) {
  computer.end();
  const auto texts = ask({"Abbrechen"}, {"Ein Satz."});
  EXPECT_FALSE(texts.isComplete);
  EXPECT_THAT(texts.labels, ElementsAre(IsEmpty()));
  EXPECT_THAT(texts.lines, ElementsAre(IsEmpty()));
}

TEST_F(LinuxTranslations_, AnswerEachTextInItsPlaceHoweverLongOrMany) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  std::vector<std::string> lines(300, "Eine Zeile");
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i] += std::to_string(i);
  lines[0] = std::string(100'000, 'x');
  lines[1] = "";
  const auto texts = ask({"", "Abbrechen", "Abbrechen"}, lines);
  EXPECT_EQ(texts.lines.size(), lines.size());
  EXPECT_TRUE(texts.isCutOff);
  EXPECT_THAT(texts.areLabelsCutOff, ElementsAre(false, false, false));
  EXPECT_THAT(texts.labels,
              ElementsAre(IsEmpty(), ElementsAre(SourceText{"Cancel", 1, 1}), ElementsAre(SourceText{"Cancel", 1, 1})));
}

}  // namespace
}  // namespace quillard::catalogues
