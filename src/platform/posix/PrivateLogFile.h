#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/storage/AppendOnlyFile.h"

namespace quillard::desktop {

// The file in a folder of this user alone (0700), itself for this user alone (0600). Links are not followed, neither
// for the file nor for the folder. The folder is made, with those above it, when it is written to first.
//
// It is opened anew for each call, so that one that was taken away or replaced meanwhile is noticed.
class PrivateLogFile final : public platform::AppendOnlyFile {
 public:
  static constexpr int kMostAside = 99;

  // `folder` is absolute.
  PrivateLogFile(std::string folder, std::string name) : folder(std::move(folder)), name(std::move(name)) {}

  [[nodiscard]] platform::FileReading read() override;
  [[nodiscard]] platform::FileStatus append(std::string_view bytes, std::size_t length) override;
  [[nodiscard]] platform::FileStatus replace(std::string_view bytes) override;
  // As "NAME.damaged-1", or the next number that is free.
  [[nodiscard]] std::optional<std::string> putAside() override;

 private:
  const std::string folder;
  const std::string name;
};

}  // namespace quillard::desktop
