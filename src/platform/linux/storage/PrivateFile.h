#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "values/Secret.h"

namespace quillard::xdg {

// Why a private file could not be used.
struct FileProblem {
  enum class Kind {
    absent,    // There is no such file: an everyday answer, not a failure.
    unsafe,    // It, or its folder, is a link, another user's, or open to others.
    tooLarge,  // More bytes than any file of ours has.
    system,    // Anything else that the system said.
  };
  Kind kind = Kind::system;
  std::string text;  // For a diagnostic line: names no path and shows no content.
};

// A file in a folder that belongs to this user alone (0700), itself for this user alone (0600). Links are not followed,
// neither for the file nor for the folder. Contents may be secret, and pass through memory that is wiped.
//
// Writing replaces the file whole or not at all, whatever happens meanwhile; what is left of a write that was cut off
// is taken away by the next. One writer at a time.
class PrivateFile {
 public:
  static constexpr std::chrono::seconds kLockTimeout{2};

  // `folder` is absolute. It is made, with those above it, by the first write.
  PrivateFile(std::string folder, std::string name, std::size_t largest,
              std::chrono::milliseconds lockTimeout = kLockTimeout);

  [[nodiscard]] std::variant<Secret, FileProblem> read() const;
  // Keeps other processes out that ask for it as well, for as long as the result lives: waits for them, `lockTimeout`
  // at the most. The folder is made where there is none. Empty: another process has it all the time, or the folder
  // cannot be used. A file system that knows no locks keeps nobody out.
  [[nodiscard]] std::shared_ptr<const void> lock() const;
  [[nodiscard]] std::string path() const { return folder + "/" + name; }
  // Absent on success, when the bytes are on the disk.
  [[nodiscard]] std::optional<FileProblem> write(std::string_view bytes) const;
  // Gives the file another name, for someone who wants to see what was in it: that name ends in "damaged-1", the one
  // that had it before becomes "damaged-2", and so on; the oldest of more than `kMostAside` is lost. Absent when that
  // failed. What was put aside may hold secrets, like the file itself: it is for this user alone, and does not stay.
  [[nodiscard]] std::optional<std::string> putAside() const;
  // Removes what was put aside `kKeptAside` ago or longer, and what is more than `kMostAside`.
  void removeOldAsides() const;

  static constexpr int kMostAside = 3;
  static constexpr std::chrono::hours kKeptAside{7 * 24};

 private:
  [[nodiscard]] std::string asideName(int number) const;

  const std::string folder;
  const std::string name;
  const std::size_t largest;
  const std::chrono::milliseconds lockTimeout;
};

}  // namespace quillard::xdg
