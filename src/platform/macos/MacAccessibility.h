#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/TrustAnswers.h"
#include "platform/macos/AXAddressee.h"
#include "platform/macos/AXCalls.h"
#include "platform/process/Executors.h"

namespace quillard::macos {

// The system's accessibility interface. Requests are made where `calls` says; comparing elements, and asking whose they
// are, is no request.
//
// Time-outs: one that is set on the system-wide element holds for the whole process, one that is set on another element
// for that very handle and its copies, not for equal ones, and not for elements that are read through it. So the
// messaging time-out is set on the system-wide element when this is made, which replaces the system's own of several
// seconds, and on each application's element besides.
//
// Nothing is asked of this very process: its elements are invalid here, and while it has the keyboard, or the window at
// a point, the system-wide element has nothing to say of that. See AXAddressee.h.
class MacAccessibility final : public platform::Accessibility {
 public:
  // `executors` outlives this. `messagingTimeout`: of each request. Positive.
  MacAccessibility(AXCalls calls, FrontmostProcess frontmost, platform::Executors& executors,
                   Seconds messagingTimeout = platform::kMessagingTimeout);

  [[nodiscard]] platform::AXResult<platform::AXValue> copyAttributeValue(const platform::AXUIElement& element,
                                                                         platform::AXAttribute name) override;
  [[nodiscard]] platform::AXResult<std::vector<std::string>> copyActionNames(
      const platform::AXUIElement& element) override;
  [[nodiscard]] platform::ProcessTrust isProcessTrusted() override { return trust.ask(); }
  [[nodiscard]] platform::ProcessTrust lastKnownProcessTrust() override { return trust.lastKnown(); }
  void refreshProcessTrust(std::function<void(platform::ProcessTrust)> onAnswer) override {
    trust.refresh(std::move(onAnswer));
  }
  // Main thread. The system announces a change of any process's permission.
  [[nodiscard]] platform::SubscriptionHandle observeTrustChanges(std::function<void()> onChange) override;
  [[nodiscard]] platform::AXUIElement createApplication(std::int32_t processIdentifier) override;
  [[nodiscard]] platform::AXUIElement createSystemWide() override;
  [[nodiscard]] std::unique_ptr<platform::AXReadScope> beginReadScope() override;
  [[nodiscard]] std::optional<std::int32_t> processIdentifier(const platform::AXUIElement& element) override;
  platform::AXError setAttributeValue(const platform::AXUIElement& element, platform::AXAttribute name,
                                      const platform::AXValue& value) override;
  platform::AXError performAction(const platform::AXUIElement& element, platform::AXAction action) override;
  [[nodiscard]] platform::AXResult<platform::AXUIElement> copyElementAtPosition(const platform::AXUIElement& within,
                                                                                Point point) override;

 private:
  void boundRequests(const platform::AXUIElement& element);
  template <class Answer, class Request>
  [[nodiscard]] Answer ask(const platform::AXUIElement& element, Request request);

  const AXCalls calls;
  const FrontmostProcess frontmost;
  const Seconds messagingTimeout;
  platform::SerialExecutor& mainThread;
  platform::TrustAnswers trust;
};

}  // namespace quillard::macos
