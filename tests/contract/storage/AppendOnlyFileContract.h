#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/storage/AppendOnlyFile.h"

namespace quillard::test {

// A file that is not there at first.
class AppendOnlyFileBinding {
 public:
  AppendOnlyFileBinding() = default;
  AppendOnlyFileBinding(const AppendOnlyFileBinding&) = delete;
  AppendOnlyFileBinding& operator=(const AppendOnlyFileBinding&) = delete;
  virtual ~AppendOnlyFileBinding() = default;

  virtual platform::AppendOnlyFile& file() = 0;
  // As somebody else leaves it. Absent: takes it away.
  virtual void meddle(const std::optional<std::string>& contents) = 0;
  // What stands under the name that `putAside` gave.
  virtual std::string aside(const std::string& name) = 0;
  // From now on nothing can be written, whatever the reason.
  virtual void forbidWriting() = 0;
};

using MakeAppendOnlyFile = std::unique_ptr<AppendOnlyFileBinding> (*)();

class AppendOnlyFileContract : public testing::TestWithParam<MakeAppendOnlyFile> {
 protected:
  platform::AppendOnlyFile& file() { return binding->file(); }
  platform::FileCode append(std::string_view bytes, std::size_t length) { return file().append(bytes, length).code; }
  std::optional<std::string> contents() {
    const auto reading = file().read();
    return reading.status.code == platform::FileCode::success ? std::optional(reading.bytes) : std::nullopt;
  }

  const std::unique_ptr<AppendOnlyFileBinding> binding = GetParam()();
};

}  // namespace quillard::test
