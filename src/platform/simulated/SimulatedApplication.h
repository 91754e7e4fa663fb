#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process/Application.h"
#include "platform/process/Executors.h"

namespace quillard::platform::simulated {

// The agent as an application of the simulated desktop: an accessory at first, without a menu. What its user does comes
// to the agent in a later turn of the main thread.
class SimulatedApplication final : public Application {
 public:
  // `executors` outlives this.
  explicit SimulatedApplication(Executors& executors);

  void setProcessIdentifier(std::int32_t identifier) { itsProcessIdentifier = identifier; }
  // Called once, in the turn after the one in which the end was asked for first.
  void setOnWillTerminate(std::function<void()> onWillTerminate);

  [[nodiscard]] ActivationPolicy activationPolicy() const { return policy; }
  // Every policy that was set, oldest first.
  [[nodiscard]] const std::vector<ActivationPolicy>& activationPolicies() const { return policies; }
  [[nodiscard]] int activationCount() const { return activations; }
  [[nodiscard]] bool isTerminationRequested() const { return end->isRequested; }
  [[nodiscard]] bool hasTerminated() const { return end->hasCome; }
  [[nodiscard]] int aboutPanelCount() const { return aboutPanels; }

  [[nodiscard]] const std::string& menuTitle() const { return itsMenuTitle; }
  [[nodiscard]] const std::vector<ApplicationMenuItem>& menuItems() const { return items; }
  // False, and nothing happens, when the menu has no such item that is enabled.
  bool chooseMenuItem(std::string_view title);

  [[nodiscard]] std::int32_t processIdentifier() const override { return itsProcessIdentifier; }
  void setActivationPolicy(ActivationPolicy policy) override;
  void activateIgnoringOtherApplications() override { ++activations; }
  void terminate() override;
  void setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) override;

 private:
  struct End {
    std::function<void()> onWillTerminate;
    bool isRequested = false;
    bool hasCome = false;
  };

  Executors& executors;
  std::int32_t itsProcessIdentifier = 4242;
  ActivationPolicy policy = ActivationPolicy::accessory;
  std::vector<ActivationPolicy> policies;
  int activations = 0;
  int aboutPanels = 0;
  std::string itsMenuTitle;
  std::vector<ApplicationMenuItem> items;
  std::shared_ptr<End> end = std::make_shared<End>();  // Shared with the turn that brings it.
};

}  // namespace quillard::platform::simulated
