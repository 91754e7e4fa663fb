#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "platform/storage/UserDefaults.h"

namespace quillard::test {

// Settings that are empty at first.
class UserDefaultsBinding {
 public:
  UserDefaultsBinding() = default;
  UserDefaultsBinding(const UserDefaultsBinding&) = delete;
  UserDefaultsBinding& operator=(const UserDefaultsBinding&) = delete;
  virtual ~UserDefaultsBinding() = default;

  // The same object until `reopen`.
  virtual platform::UserDefaults& defaults() = 0;
  // Ends the run of the program: from now on `defaults` is what its next run has.
  virtual void reopen() = 0;
  // The same settings as another process opens them now. It goes before the binding.
  virtual std::unique_ptr<platform::UserDefaults> openAnother() = 0;
  // While it is true, nothing can be written.
  virtual void setDiskFull(bool isFull) = 0;
};

using MakeUserDefaults = std::unique_ptr<UserDefaultsBinding> (*)();

class UserDefaultsContract : public testing::TestWithParam<MakeUserDefaults> {
 protected:
  const std::unique_ptr<UserDefaultsBinding> binding = GetParam()();
};

}  // namespace quillard::test
