#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/process/Executors.h"
#include "platform/shell/UpdateService.h"

namespace quillard::platform::simulated {

// An update framework whose feed a test writes. Its events come in later turns of the main thread, and not at all when
// the controller was destroyed by then.
class SimulatedUpdateService final : public UpdateService {
 public:
  // `executors` outlives this.
  explicit SimulatedUpdateService(Executors& executors);

  // Whether there is a framework at all. True at first.
  void setPresent(bool present) { isPresent = present; }
  // What the feed offers. Absent: nothing newer.
  void setOffer(std::optional<std::string> displayVersion);

  [[nodiscard]] int controllerCount() const { return controllers; }
  // Checks that the user asked for.
  [[nodiscard]] int userCheckCount() const;
  // Whether the framework's own window is up: after a check of the user's, until the session is finished.
  [[nodiscard]] bool isShowingWindow() const;

  // The framework's schedule comes round. Nothing happens without a controller or an offer.
  void runScheduledCheck();
  // The user looks at what was found.
  void giveUserAttention();
  void finishSession();

  [[nodiscard]] std::unique_ptr<UpdateController> makeController(UpdateEvents events) override;

  struct Session;  // What the service shares with its controller.

 private:
  void tell(std::function<void(const UpdateEvents&)> what);

  Executors& executors;
  std::shared_ptr<Session> session;
  bool isPresent = true;
  int controllers = 0;
};

}  // namespace quillard::platform::simulated
