#pragma once

#include <cstdint>
#include <memory>
#include <optional>
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
  // The user starts the application again. What the delegate answers is kept.
  void reopen(bool hasVisibleWindows = false);
  // What the delegate answered last. Absent: it was never asked.
  [[nodiscard]] std::optional<bool> reopenAnswer() const { return life->reopenAnswer; }

  [[nodiscard]] ActivationPolicy activationPolicy() const { return policy; }
  // Every policy that was set, oldest first.
  [[nodiscard]] const std::vector<ActivationPolicy>& activationPolicies() const { return policies; }
  [[nodiscard]] int activationCount() const { return activations; }
  [[nodiscard]] bool isTerminationRequested() const { return life->isEndRequested; }
  [[nodiscard]] bool hasTerminated() const { return life->hasEnded; }
  [[nodiscard]] int aboutPanelCount() const { return aboutPanels; }

  [[nodiscard]] const std::string& menuTitle() const { return itsMenuTitle; }
  [[nodiscard]] const std::vector<ApplicationMenuItem>& menuItems() const { return items; }
  // False, and nothing happens, when the menu has no such item that is enabled.
  bool chooseMenuItem(std::string_view title);

  [[nodiscard]] std::int32_t processIdentifier() const override { return itsProcessIdentifier; }
  void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) override;
  void setActivationPolicy(ActivationPolicy policy) override;
  void activateIgnoringOtherApplications() override { ++activations; }
  void terminate() override;
  void setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) override;

 private:
  struct Life {
    std::weak_ptr<ApplicationDelegate> delegate;
    std::optional<bool> reopenAnswer;
    bool isEndRequested = false;
    bool hasEnded = false;
  };

  Executors& executors;
  std::int32_t itsProcessIdentifier = 4242;
  ActivationPolicy policy = ActivationPolicy::accessory;
  std::vector<ActivationPolicy> policies;
  int activations = 0;
  int aboutPanels = 0;
  std::string itsMenuTitle;
  std::vector<ApplicationMenuItem> items;
  std::shared_ptr<Life> life = std::make_shared<Life>();  // Shared with the turns that are under way.
};

}  // namespace quillard::platform::simulated
