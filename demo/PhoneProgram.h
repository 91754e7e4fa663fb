#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "demo/DemoSocket.h"
#include "demo/Service.h"

namespace quillard::demo {

// What the pairing code of the agent holds: a secret. The program is asked, which makes the pairing where there is none
// yet. Absent: it does not tell, as where a phone has used the code already and no agent is there to make another one.
[[nodiscard]] std::optional<std::string> pairingTextWithoutAgent(const RunningDemo& running,
                                                                 const std::function<bool()>& isCancelled = {});

// The same with an agent that is up, or was just started and is waited for. Absent, with a line on standard error that
// says why, when it does not tell.
[[nodiscard]] std::optional<std::string> pairingTextOf(const RunningDemo& running,
                                                       const std::function<bool()>& isCancelled = {});

// Waits until the agent is connected with its relay, which then knows the pairing. False when it was not in time, or
// `isCancelled` became true.
[[nodiscard]] bool waitForAgent(const std::string& pairingText, const std::function<bool()>& isCancelled);

// The phone without a browser, in our terminal. It ends with the person's options, or, with `answer`, once it has
// pressed that button of the first prompt and received the outcome.
[[nodiscard]] std::unique_ptr<Service> startPhone(const std::string& program, const std::string& pairingText,
                                                  const std::optional<std::string>& answer);

}  // namespace quillard::demo
