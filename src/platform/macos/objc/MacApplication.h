#pragma once

#include <cstdint>
#include <memory>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "platform/qt/LoopEnd.h"

namespace quillard::macos {

// This process as the system's application object, which Qt has made. Main thread; made and destroyed inside the life
// of Qt's application object.
//
// Qt forces its application into the Dock and to the front as it starts, unless it is told beforehand not to
// (`keepQtFromTakingTheFocus`); then the policy is the one of the information dictionary until it is set here.
//
// The menu is the system's main menu. Set it once the loop runs: Qt sets one of its own before. What the user chooses
// comes in a turn of its own, when the menu is closed.
//
// Coming to the front happens in a turn after the one that asks: activated in the same turn as it becomes a regular
// application, an application has a menu bar that takes no clicks until another one was in front. In the turn after the
// one in which it is regular no more, the application that was in front before gets the keyboard again, unless another
// window of this one is on screen: the update framework's, say.
class MacApplication final : public platform::Application {
 public:
  // Before Qt's application object is made.
  static void keepQtFromTakingTheFocus();

  // `mainThread` is the Qt loop, and outlives this.
  explicit MacApplication(platform::SerialExecutor& mainThread);

  [[nodiscard]] std::int32_t processIdentifier() const override;
  // Of reopening the system is asked once the loop runs: until then it has a handler of its own, which does not come
  // back. Whether windows are visible is not known.
  void setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) override;
  void setActivationPolicy(platform::ActivationPolicy policy) override;
  void activateIgnoringOtherApplications() override;
  void terminate() override { loopEnd.terminate(); }
  void setApplicationMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items) override;

 private:
  void inALaterTurn(platform::Turn turn);

  qt::LoopEnd loopEnd;
  const MainThreadListening listening;
  platform::SubscriptionHandle reopening;
  std::uint64_t turnsAsked = 0;  // Only the one that was asked for last still does something.
};

}  // namespace quillard::macos
