#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillard::relayserver {

// One file of a configuration.
struct SetupFile {
  std::filesystem::path path;
  std::string text;
  unsigned mode = 0644;
};

// Several files that are put in their places together. States: made -> prepared -> committed; destroyed before that,
// it leaves everything as it was.
class SetupFiles {
 public:
  explicit SetupFiles(std::vector<SetupFile> files) : files(std::move(files)) {}
  SetupFiles(const SetupFiles&) = delete;
  SetupFiles& operator=(const SetupFiles&) = delete;
  ~SetupFiles();

  // Writes all of them under other names, in the folders that they belong to, which are made where there are none.
  // Empty, or what cannot be written.
  [[nodiscard]] std::string prepare();
  // Where a prepared file is until it is committed.
  [[nodiscard]] static std::filesystem::path preparedName(const std::filesystem::path& path);
  // Renames all of them. What was there before is kept beside it, with ".old" at its end; `obsolete` is only moved
  // there. Empty, or which one cannot be renamed: then everything is as it was.
  [[nodiscard]] std::string commit(const std::vector<std::filesystem::path>& obsolete);

 private:
  const std::vector<SetupFile> files;
  std::vector<std::filesystem::path> madeFolders;  // Outer ones first.
  bool isCommitted = false;
};

// As one word for the shell, whatever is in it.
[[nodiscard]] std::string shellQuoted(const std::string& text);

}  // namespace quillard::relayserver
