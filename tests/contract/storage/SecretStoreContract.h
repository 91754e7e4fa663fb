#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/storage/SecretStore.h"

namespace quillard::test {

// A store of secrets with an empty place, as a binding makes it for a test.
class SecretStoreBinding {
 public:
  SecretStoreBinding() = default;
  SecretStoreBinding(const SecretStoreBinding&) = delete;
  SecretStoreBinding& operator=(const SecretStoreBinding&) = delete;
  virtual ~SecretStoreBinding() = default;
  virtual platform::SecretStore& store() = 0;
  // The store over the same place that the next run of the program has. Lives as long as this.
  virtual platform::SecretStore& reopen() = 0;
};

struct SecretStoreCase {
  std::string name;
  platform::SecretPlace place;
  std::unique_ptr<SecretStoreBinding> (*make)();
};

// What the agent relies on in each place that keeps secrets.
class SecretStoreContract : public testing::TestWithParam<SecretStoreCase> {};

}  // namespace quillard::test
