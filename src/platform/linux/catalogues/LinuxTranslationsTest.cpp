#include <cstdlib>
#include <utility>

#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <sys/stat.h>

#include "support/LinuxTranslationsFixture.h"

namespace quillard::catalogues {
namespace {

using namespace test;
using platform::SourceText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// The superuser may read everything: gives that up for this thread, and takes it back. In that folder meanwhile, since
// another user may not reach it from the root folder.
class WithoutPower {
 public:
  explicit WithoutPower(const fs::path& folder) : before(fs::current_path()) {
    fs::current_path(folder);
    user = ::setfsuid(kNobody);
  }
  WithoutPower(const WithoutPower&) = delete;
  WithoutPower& operator=(const WithoutPower&) = delete;
  ~WithoutPower() {
    ::setfsuid(static_cast<uid_t>(user));
    fs::current_path(before);
  }

 private:
  static constexpr uid_t kNobody = 65534;
  const fs::path before;
  int user = 0;
};

struct FolderInMemory {
  FolderInMemory() { EXPECT_NE(::mkdtemp(path.data()), nullptr); }
  FolderInMemory(const FolderInMemory&) = delete;
  FolderInMemory& operator=(const FolderInMemory&) = delete;
  ~FolderInMemory() { fs::remove_all(path); }

  std::string path = "/dev/shm/quillard.XXXXXX";
};

using LinuxTranslations_ = LinuxTranslationsFixture;

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

// As in a folder that somebody has made the root of all programs (chroot).
TEST_F(LinuxTranslations_, AreReadBelowARootThatIsNoMountWhenItLiesOnADisk) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  computer.write(computer.options.processes + "/4711/mountinfo", "36 35 98:0 / /proc rw - proc proc rw\n");
  if (!Folder::rootOf(computer.options.processes + "/4711").isOnDisk())
    GTEST_SKIP() << "The temporary folder is on no disk.";
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 1}));
}

TEST_F(LinuxTranslations_, AreNotReadBelowARootThatIsNoMountAndLiesOnNoDisk) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  const auto process = computer.options.processes + "/4711";
  computer.write(process + "/mountinfo", "36 35 98:0 / /proc rw - proc proc rw\n");
  fs::remove(process + "/root");
  const FolderInMemory root;
  fs::create_directories(root.path + fs::path(kOwn).parent_path().string());
  fs::copy(computer.root() + kOwn, root.path + kOwn);
  fs::create_directory_symlink(root.path, process + "/root");
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
  const WithoutPower nobody(std::exchange(computer.options.processes, "."));
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
