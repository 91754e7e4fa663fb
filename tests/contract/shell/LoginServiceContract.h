#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "platform/shell/LoginService.h"

namespace quillard::test {

// A session in which the program is not registered at first.
class LoginServiceBinding {
 public:
  LoginServiceBinding() = default;
  LoginServiceBinding(const LoginServiceBinding&) = delete;
  LoginServiceBinding& operator=(const LoginServiceBinding&) = delete;
  virtual ~LoginServiceBinding() = default;

  virtual platform::LoginService& service() = 0;
  // What the user does in the desktop's settings to a program that is registered.
  virtual void switchOff() = 0;
  virtual void switchOn() = 0;
  // From now on nothing can be registered.
  virtual void breakRegistration() = 0;
};

using MakeLoginService = std::unique_ptr<LoginServiceBinding> (*)();

class LoginServiceContract : public testing::TestWithParam<MakeLoginService> {
 protected:
  const std::unique_ptr<LoginServiceBinding> binding = GetParam()();
  platform::LoginService& service = binding->service();
};

}  // namespace quillard::test
