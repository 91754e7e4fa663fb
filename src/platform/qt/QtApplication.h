#pragma once

#include <functional>

#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "platform/qt/LoopEnd.h"

namespace quillard::qt {

struct ApplicationMenu {
  std::string title;
  std::vector<platform::ApplicationMenuItem> items;
};

// This process as a Qt application. Where the desktop has no menu bar for applications, whoever has a place for a menu
// (the tray) shows the one that is kept here. The activation policy is kept, too; no desktop of Linux has a use for it.
class QtApplication final : public platform::Application {
 public:
  // `mainThread` is the Qt event loop, and outlives this. Needs Qt's application object for what has windows.
  explicit QtApplication(platform::SerialExecutor& mainThread) : mainThread(mainThread) {}

  void setOnMenuChange(std::function<void()> handler) { onMenuChange = std::move(handler); }
  void setOnAboutPanel(std::function<void()> handler) { onAboutPanel = std::move(handler); }
  // Called after each choice of a policy, also of the one that held before.
  void setOnActivationPolicy(std::function<void()> handler) { onActivationPolicy = std::move(handler); }

  [[nodiscard]] std::int32_t processIdentifier() const override;
  void setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) override;
  void setActivationPolicy(platform::ActivationPolicy policy) override;
  void activateIgnoringOtherApplications() override;
  void terminate() override { loopEnd.terminate(); }
  void setApplicationMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items) override;

  [[nodiscard]] platform::ActivationPolicy activationPolicy() const { return itsPolicy; }
  [[nodiscard]] const ApplicationMenu& applicationMenu() const { return menu; }
  // Does what the item is for. A disabled item, and a separator, do nothing.
  void choose(const platform::ApplicationMenuItem& item);

 private:
  platform::SerialExecutor& mainThread;
  LoopEnd loopEnd{mainThread};
  platform::ActivationPolicy itsPolicy = platform::ActivationPolicy::regular;
  ApplicationMenu menu;
  std::function<void()> onMenuChange;
  std::function<void()> onAboutPanel;
  std::function<void()> onActivationPolicy;
};

}  // namespace quillard::qt
