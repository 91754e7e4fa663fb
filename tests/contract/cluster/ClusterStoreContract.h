#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "companion/relay/cluster/ClusterStore.h"

namespace quillard::test {

// An engine with two clients.
class ClusterStoreBinding {
 public:
  ClusterStoreBinding() = default;
  ClusterStoreBinding(const ClusterStoreBinding&) = delete;
  ClusterStoreBinding& operator=(const ClusterStoreBinding&) = delete;
  virtual ~ClusterStoreBinding() = default;
  virtual relayserver::ClusterStore& store(int client) = 0;
  // Lets time pass until it holds, or for half a minute. Whether it held.
  virtual bool runUntil(const std::function<bool()>& holds) = 0;
  // Forgets what happened before now.
  virtual void compact() = 0;
};

struct ClusterStoreBindingCase {
  std::string name;
  std::function<std::unique_ptr<ClusterStoreBinding>()> make;
  std::function<bool()> isPossible;  // Else why it is skipped is printed.
  std::string whyNot;
};

class ClusterStoreContract : public testing::TestWithParam<ClusterStoreBindingCase> {
 protected:
  void SetUp() override {
    if (!GetParam().isPossible()) GTEST_SKIP() << GetParam().whyNot;
    binding = GetParam().make();
  }
  relayserver::ClusterStore& store(int client = 0) { return binding->store(client); }
  // Absent: it was not known, or nothing came.
  std::optional<relayserver::ClusterTransactionResult> transact(relayserver::ClusterTransaction transaction,
                                                                int client = 0);
  relayserver::Revision put(const std::string& key, const std::string& value, relayserver::LeaseNumber lease = 0);
  std::optional<relayserver::ClusterEntry> read(const std::string& key, int client = 0);

  std::unique_ptr<ClusterStoreBinding> binding;
};

}  // namespace quillard::test
