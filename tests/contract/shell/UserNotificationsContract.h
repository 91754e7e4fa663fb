#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/shell/UserNotifications.h"

namespace quillard::test {

struct ShownNote {
  std::string title;
  std::string body;
  bool operator==(const ShownNote&) const = default;
};

// A desktop that shows notes and allows the agent to post them.
class UserNotificationsBinding {
 public:
  UserNotificationsBinding() = default;
  UserNotificationsBinding(const UserNotificationsBinding&) = delete;
  UserNotificationsBinding& operator=(const UserNotificationsBinding&) = delete;
  virtual ~UserNotificationsBinding() = default;

  virtual platform::UserNotifications& notifications() = 0;
  // What is on the screen, in any order.
  [[nodiscard]] virtual std::vector<ShownNote> shown() = 0;
  // From now on requests for authorization fail.
  virtual void breakAuthorization() = 0;
  // Lets the main thread run until `condition` holds; false when it never did.
  virtual bool eventually(const std::function<bool()>& condition) = 0;
  [[nodiscard]] virtual bool isOnMainThread() = 0;
};

using MakeUserNotifications = std::unique_ptr<UserNotificationsBinding> (*)();

class UserNotificationsContract : public testing::TestWithParam<MakeUserNotifications> {
 protected:
  const std::unique_ptr<UserNotificationsBinding> binding = GetParam()();
  platform::UserNotifications& notifications = binding->notifications();
};

}  // namespace quillard::test
