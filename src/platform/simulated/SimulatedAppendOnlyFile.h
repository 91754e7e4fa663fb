#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/storage/AppendOnlyFile.h"

namespace quillard::platform::simulated {

// A file in memory; outlives the agent under test to simulate its next run. Absent at first.
class SimulatedAppendOnlyFile final : public AppendOnlyFile {
 public:
  [[nodiscard]] FileReading read() override;
  [[nodiscard]] FileStatus append(std::string_view bytes, std::size_t length) override;
  [[nodiscard]] FileStatus replace(std::string_view bytes) override;
  [[nodiscard]] std::optional<std::string> putAside() override;

  // ---- What else may happen to it.
  // As somebody else left it. Absent: took it away.
  void setContents(std::optional<std::string> wanted) { contents = std::move(wanted); }
  [[nodiscard]] const std::optional<std::string>& current() const { return contents; }
  // What was put aside, oldest first.
  [[nodiscard]] const std::vector<std::string>& asides() const { return putAsides; }
  // From now on this is what comes of every call that would write (`forReading`: of all). `success`: all is well again.
  void failWith(FileCode code, bool forReading = false);

 private:
  [[nodiscard]] FileStatus failure() const;

  std::optional<std::string> contents;
  std::vector<std::string> putAsides;
  FileCode writing = FileCode::success;
  bool isUnreadable = false;
};

}  // namespace quillard::platform::simulated
