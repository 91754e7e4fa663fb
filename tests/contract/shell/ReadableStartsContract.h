#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/desktop/ReadableStarts.h"

namespace quillard::test {

// A desktop with a menu that has no entry at first.
class ReadableStartsBinding {
 public:
  ReadableStartsBinding() = default;
  ReadableStartsBinding(const ReadableStartsBinding&) = delete;
  ReadableStartsBinding& operator=(const ReadableStartsBinding&) = delete;
  virtual ~ReadableStartsBinding() = default;

  virtual platform::ReadableStarts& starts() = 0;
  // Of a program that can be started so that it can be read.
  virtual void addEntry(const std::string& entry, const std::string& name) = 0;
  // The user makes an entry of their own, which the menu takes instead.
  virtual void replaceByUser(const std::string& entry) = 0;
  // The user changes the entry that is there.
  virtual void editByUser(const std::string& entry) = 0;
  // Whether the menu starts it so that it can be read.
  [[nodiscard]] virtual bool isReadable(const std::string& entry) = 0;
};

using MakeReadableStarts = std::unique_ptr<ReadableStartsBinding> (*)();

class ReadableStartsContract : public testing::TestWithParam<MakeReadableStarts> {
 protected:
  const std::unique_ptr<ReadableStartsBinding> binding = GetParam()();
  platform::ReadableStarts& starts = binding->starts();
};

}  // namespace quillard::test
