#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/catalogues/TestCatalogues.h"
#include "support/TemporaryFolder.h"

namespace quillard::catalogues::test {

namespace fs = std::filesystem;

inline constexpr std::int32_t kProcess = 4711;
inline const std::string kGtk = "/usr/share/locale/de/LC_MESSAGES/gtk30.mo";
inline const std::string kOwn = "/usr/share/locale/de/LC_MESSAGES/asker.mo";

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

// What the translations of one process on such a computer say.
class LinuxTranslationsFixture : public testing::Test {
 protected:
  LinuxTranslations& translations() {
    if (!made) made = std::make_unique<LinuxTranslations>(computer.options);
    return *made;
  }
  platform::SourceTexts ask(const std::vector<std::string>& labels, const std::vector<std::string>& lines = {}) {
    auto texts = translations().sourceTexts({kProcess, labels, lines});
    EXPECT_TRUE(texts);
    return texts.value_or(platform::SourceTexts{});
  }
  std::vector<platform::SourceText> label(const std::string& shown) { return ask({shown}).labels.at(0); }
  std::vector<platform::SourceText> line(const std::string& shown) { return ask({}, {shown}).lines.at(0); }

  Computer computer;

 private:
  std::unique_ptr<LinuxTranslations> made;
};

}  // namespace quillard::catalogues::test
