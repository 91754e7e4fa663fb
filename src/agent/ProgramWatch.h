#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/CallbackScope.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/ReadableStarts.h"
#include "platform/desktop/WindowList.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "status/ProgramReadability.h"

namespace quillard {

// All of it outlives the watch.
struct ProgramWatchDependencies {
  platform::DesktopCapabilities& capabilities;
  platform::ReadableStarts* readableStarts;  // Null: the watch never does anything, and knows nothing.
  platform::Executors& executors;
  platform::Clock& clock;
  platform::WindowList& windowList;
};

// Which programs cannot be read, for whoever shows it: asked away from the main thread, and only while somebody wants
// to know it. Changes how such programs are started, there too, one after another. Main thread; its destruction waits
// for what runs.
class ProgramWatch {
 public:
  // `onChange`: `newest` has something else to say.
  ProgramWatch(const ProgramWatchDependencies& dependencies, std::function<void()> onChange);
  ~ProgramWatch();
  ProgramWatch(const ProgramWatch&) = delete;
  ProgramWatch& operator=(const ProgramWatch&) = delete;

  // What was found last; empty at first. Looks again when that is 10 s old and windows have come or gone since, or it
  // tells of a problem; after a minute where it tells of programs that cannot be read, and after five in any case.
  [[nodiscard]] const ProgramReadability& newest();

  // `entry`: see `ReadableStarts`. Ends in `onChange`.
  void makeReadable(const std::string& entry);
  void undo(const std::string& entry);

  // Nothing is asked or changed afterwards.
  void stop() { isStopped = true; }

 private:
  using Change = std::optional<std::string> (platform::ReadableStarts::*)(const std::string&);

  void change(Change how, const std::string& entry);
  // Runs `change` first, if there is one, and then asks for everything.
  void look(std::function<std::string()> change);
  void found(ProgramReadability readability);

  const ProgramWatchDependencies dependencies;
  const std::function<void()> onChange;
  ProgramReadability known;
  std::optional<Instant> lastLook;
  std::optional<Instant> lastChange;
  platform::SubscriptionHandle windowSubscription;  // From the first look on.
  bool haveWindowsChanged = false;                  // Since the last look, or it has found something new.
  bool isLooking = false;
  bool isStopped = false;
  CallbackScope callbacks;
  std::unique_ptr<platform::SerialExecutor> queue;  // Made by the first look. Last: what it runs uses the rest.
};

}  // namespace quillard
