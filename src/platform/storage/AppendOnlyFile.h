#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillard::platform {

enum class FileCode {
  success,
  absent,    // There is no such file.
  changed,   // It is not as long as the caller knows it: somebody else cut it, wrote to it, or took it away.
  unsafe,    // It, or its folder, is a link, another user's, or open to others. It is left alone.
  noSpace,   // The disk is full, or this user's share of it.
  tooLarge,  // More than `AppendOnlyFile::kLongest`.
  failed,    // Anything else that the system said.
};

struct FileStatus {
  FileCode code = FileCode::success;
  std::string text{};  // Why, for people: names no path and shows no content. Empty on success.
};

struct FileReading {
  FileStatus status;
  std::string bytes{};  // Empty unless the status is `success`.
};

// One file of this user, for this user alone, to which lines are added and from which none is taken. One process writes
// at a time, which its callers see to; others may read meanwhile, and may find the last line unfinished.
//
// Waits for a disk. Main thread. What was appended is with the system when the call returns: it outlives this process,
// and reaches the disk soon.
class AppendOnlyFile {
 public:
  static constexpr std::size_t kLongest = std::size_t{64} * 1024 * 1024;

  virtual ~AppendOnlyFile() = default;

  [[nodiscard]] virtual FileReading read() = 0;

  // Adds `bytes` at the end of a file that is `length` bytes long, or makes it where that is 0: a file that has gone is
  // `changed`, and never begun anew. Whole, or not at all while this process lives; only its end, or that of the
  // system, in the middle of it leaves a part.
  [[nodiscard]] virtual FileStatus append(std::string_view bytes, std::size_t length) = 0;

  // Puts `bytes` in the place of all of it: whole or not at all, whatever happens meanwhile, and on the disk when the
  // call returns. Makes the file where there is none.
  [[nodiscard]] virtual FileStatus replace(std::string_view bytes) = 0;

  // Keeps the file under another name, which no other has, for someone who wants to see what was in it; nothing is
  // deleted. That name; absent: it failed, and the file is where it was.
  [[nodiscard]] virtual std::optional<std::string> putAside() = 0;
};

}  // namespace quillard::platform
