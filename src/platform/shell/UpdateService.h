#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillard::platform {

// What the update framework tells while it runs; on the main thread.
struct UpdateEvents {
  // An update was found. `handleShowingUpdate`: the framework shows it itself, since the user asked for the check.
  std::function<void(bool handleShowingUpdate, std::string displayVersion)> willHandleShowingUpdate;
  std::function<void()> didReceiveUserAttention;
  std::function<void()> willFinishUpdateSession;
};

// The framework, checking on its schedule and never showing a scheduled update by itself. Main thread.
class UpdateController {
 public:
  UpdateController() = default;
  UpdateController(const UpdateController&) = delete;
  UpdateController& operator=(const UpdateController&) = delete;
  virtual ~UpdateController() = default;
  // A check that the user asked for, with the framework's own window.
  virtual void checkForUpdates() = 0;
};

class UpdateService {
 public:
  virtual ~UpdateService() = default;
  // Makes and starts the controller. Empty on a system without an update framework. Main thread.
  [[nodiscard]] virtual std::unique_ptr<UpdateController> makeController(UpdateEvents events) = 0;
};

}  // namespace quillard::platform
