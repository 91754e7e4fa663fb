#include "platform/macos/objc/MacApplication.h"

#include <cstdlib>
#include <utility>

#include <unistd.h>

#include "platform/macos/objc/ApplicationCalls.h"

namespace quillard::macos {

using platform::ActivationPolicy;
using platform::ApplicationMenuItem;

void MacApplication::keepQtFromTakingTheFocus() { ::setenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1", 1); }

MacApplication::MacApplication(platform::SerialExecutor& mainThread) : loopEnd(mainThread), listening(mainThread) {}

void MacApplication::setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) {
  loopEnd.setDelegate(delegate);
  listening.link()->post([this, delegate = std::move(delegate)] {
    reopening = appkit::observeReopen([link = listening.link(), delegate] {
      link->post([delegate] {
        if (const auto notified = delegate.lock()) notified->applicationShouldHandleReopen(false);
      });
    });
    if (const auto notified = delegate.lock()) notified->applicationDidFinishLaunching();
  });
}

std::int32_t MacApplication::processIdentifier() const { return ::getpid(); }

void MacApplication::setActivationPolicy(ActivationPolicy policy) {
  appkit::setActivationPolicy(policy);
  ++turnsAsked;
  if (policy == ActivationPolicy::regular) return appkit::unhideApplication();
  inALaterTurn([] {
    if (appkit::isApplicationActive() && !appkit::hasApplicationWindow()) appkit::hideApplication();
  });
}

void MacApplication::activateIgnoringOtherApplications() { inALaterTurn(appkit::activateApplication); }

void MacApplication::inALaterTurn(platform::Turn turn) {
  listening.link()->post([this, asked = ++turnsAsked, turn = std::move(turn)] {
    if (asked == turnsAsked) turn();
  });
}

void MacApplication::setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) {
  for (auto& item : items) {
    item.onChoice = [link = listening.link(), onChoice = std::move(item.onChoice)] {
      if (onChoice) link->post(onChoice);
    };
  }
  appkit::setMainMenu(title, std::move(items));
}

}  // namespace quillard::macos
