#include <string>

#include <gmock/gmock.h>

#include "platform/linux/catalogues/LocalMounts.h"
#include "platform/linux/catalogues/MappedCatalogues.h"

namespace quillard::catalogues {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string line(const std::string& path) {
  return "7f0000000000-7f0000010000 r--p 00000000 08:01 123456                     " + path + "\n";
}

TEST(MappedCatalogues, AreThoseOfTheKnownKindsEachOnce) {
  const auto [catalogues, isCutOff] = mappedCatalogues(
      line("/usr/bin/zenity") + line("/usr/share/locale/de/LC_MESSAGES/gtk30.mo") +
      line("/usr/share/locale/de/LC_MESSAGES/gtk30.mo") + line("/usr/share/qt6/translations/qtbase_de.qm") +
      "7f00-7f01 rw-p 00000000 00:00 0 \n" + line("/opt/a browser/locales/de.pak") + line("[heap]") +
      line("/usr/share/locale/de/LC_MESSAGES/gtk30.mo"));
  EXPECT_FALSE(isCutOff);
  EXPECT_THAT(catalogues,
              ElementsAre(CataloguePath{CatalogueKind::gettext, "/usr/share/locale/de/LC_MESSAGES/gtk30.mo"},
                          CataloguePath{CatalogueKind::qt, "/usr/share/qt6/translations/qtbase_de.qm"},
                          CataloguePath{CatalogueKind::chromium, "/opt/a browser/locales/de.pak"}));
  EXPECT_EQ(catalogues.back().englishPath(), "/opt/a browser/locales/en-US.pak");
}

TEST(MappedCatalogues, ThatWereReplacedAreNamedAsWhatIsInTheirPlace) {
  EXPECT_THAT(mappedCatalogues(line("/usr/share/locale/de/LC_MESSAGES/zenity.mo (deleted)")).paths,
              ElementsAre(CataloguePath{CatalogueKind::gettext, "/usr/share/locale/de/LC_MESSAGES/zenity.mo"}));
}

TEST(MappedCatalogues, LeaveOutWhatHoldsNoTextsOfWindowsOrIsEnglish) {
  for (const char* path : {"/usr/share/locale/de/LC_MESSAGES/libc.mo", "/usr/share/locale/de/LC_MESSAGES/glib20.mo",
                           "/usr/share/locale/de/LC_MESSAGES/gtk30-properties.mo", "/opt/browser/locales/en-US.pak",
                           "/usr/share/locale/de/LC_MESSAGES/iso_3166.mo", "/opt/browser/resources.pak", "/dev/zero",
                           "relative.mo", "/a\001.mo", "/memfd:x"}) {
    EXPECT_THAT(mappedCatalogues(line(path)).paths, IsEmpty()) << path;
  }
}

TEST(MappedCatalogues, OfAListThatIsNoneAreNone) {
  for (const std::string& list :
       {std::string(), std::string("\n\n"), std::string("a b c d e"), std::string("a b c d e f"),
        std::string(70000, 'x'), std::string("a  b"), std::string(5, ' ')}) {
    EXPECT_THAT(mappedCatalogues(list).paths, IsEmpty());
  }
}

TEST(MappedCatalogues, AreNotWithoutEndAndSaySo) {
  std::string list;
  const auto add = [&](std::size_t i) {
    list += line("/usr/share/locale/de/LC_MESSAGES/d" + std::to_string(i) + ".mo");
  };
  for (std::size_t i = 0; i < kMostCatalogues; ++i) add(i);
  EXPECT_FALSE(mappedCatalogues(list + line("[heap]")).isCutOff);
  for (std::size_t i = kMostCatalogues; i < 1000; ++i) add(i);
  EXPECT_THAT(mappedCatalogues(list).paths, SizeIs(kMostCatalogues));
  EXPECT_TRUE(mappedCatalogues(list).isCutOff);
}

// ---- Where they lie

std::string mount(const std::string& point, const std::string& kind) {
  return "36 35 98:0 / " + point + " rw,noatime shared:1 master:2 - " + kind + " /dev/root rw\n";
}

TEST(LocalMounts, AreTheFileSystemsThatTheKernelServes) {
  const LocalMounts mounts(mount("/", "ext4") + mount("/home", "nfs4") + mount("/run/user/1000/doc", "fuse.portal") +
                           mount("/tmp/.mount_App", "fuse.AppImage") + mount("/snap/a/1", "squashfs"));
  EXPECT_TRUE(mounts.contains("/usr/share/locale/de/LC_MESSAGES/a.mo"));
  EXPECT_TRUE(mounts.contains("/snap/a/1/locale/a.mo"));
  EXPECT_TRUE(mounts.contains("/homely/a.mo"));
  EXPECT_FALSE(mounts.contains("/home/me/.local/share/locale/de/LC_MESSAGES/a.mo"));
  EXPECT_FALSE(mounts.contains("/tmp/.mount_App/usr/share/a.mo"));
  EXPECT_FALSE(mounts.contains("/run/user/1000/doc/a.mo"));
}

TEST(LocalMounts, AreCoveredByWhatIsMountedOnThemLater) {
  const LocalMounts mounts(mount("/", "ext4") + mount("/opt", "ext4") + mount("/opt", "fuse"));
  EXPECT_FALSE(mounts.contains("/opt/a.mo"));
}

TEST(LocalMounts, AreKnownWithBlanksInTheirNames) {
  const LocalMounts mounts(mount("/", "ext4") + mount("/mnt/my\\040disk", "fuse.sshfs"));
  EXPECT_FALSE(mounts.contains("/mnt/my disk/a.mo"));
  EXPECT_TRUE(mounts.contains("/mnt/my/a.mo"));
}

TEST(LocalMounts, AreTheRootFolderTooWhereTheListDoesNotNameIt) {
  const auto list = mount("/proc", "proc") + mount("/home", "fuse.sshfs") + mount("/opt", "ext4");
  EXPECT_TRUE(LocalMounts(list, true).contains("/usr/a.mo"));
  EXPECT_FALSE(LocalMounts(list, true).contains("/home/a.mo"));
  EXPECT_FALSE(LocalMounts(list, false).contains("/usr/a.mo"));
  EXPECT_TRUE(LocalMounts(list, false).contains("/opt/a.mo"));
  EXPECT_FALSE(LocalMounts(mount("/", "nfs4") + list, true).contains("/usr/a.mo")) << "The list says it.";
  EXPECT_FALSE(LocalMounts(list + "36 35 98:0 / /us", true).contains("/usr/a.mo")) << "cut off";
  EXPECT_FALSE(LocalMounts("", true).contains("/usr/a.mo")) << "no list";
}

// What is left may cover any of the others.
TEST(LocalMounts, AreNoneByAListThatIsNotWhole) {
  std::string list = mount("/", "ext4");
  for (int i = 1; i < 4096; ++i) list += mount("/m" + std::to_string(i), "ext4");
  EXPECT_TRUE(LocalMounts(list).contains("/home/a.mo"));
  list += mount("/home", "fuse.sshfs");
  EXPECT_FALSE(LocalMounts(list).contains("/home/a.mo"));
  EXPECT_FALSE(LocalMounts(list).contains("/usr/a.mo"));
  EXPECT_FALSE(LocalMounts(mount("/", "ext4") + "36 35 98:0 / /ho").contains("/home/a.mo")) << "cut off";
}

TEST(LocalMounts, AreNoneWithoutAListThatCanBeRead) {
  for (const std::string& list :
       {std::string(), std::string("36 35 98:0 /\n"), std::string("- ext4"),
        std::string("36 35 98:0 / / rw ext4 a b\n"), mount("/", ""), mount("/", "unheard-of")}) {
    EXPECT_FALSE(LocalMounts(list).contains("/usr/a.mo")) << list;
    EXPECT_FALSE(LocalMounts(list).contains("/")) << list;
    EXPECT_FALSE(LocalMounts(list).contains("relative")) << list;
  }
}

}  // namespace
}  // namespace quillard::catalogues
