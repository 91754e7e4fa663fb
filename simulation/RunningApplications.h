#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "simulation/Stage.h"

namespace quillard::simulation {

// The applications that run on this desktop, and when each of them answered well: not while it hangs, is slow or
// hidden, or lies.
class RunningApplications {
 public:
  // `stage` outlives this.
  explicit RunningApplications(Stage& stage) : stage(stage) {}
  RunningApplications(const RunningApplications&) = delete;
  RunningApplications& operator=(const RunningApplications&) = delete;

  void add(platform::simulated::ApplicationHandle application) { applications.push_back({application}); }
  void remove(platform::simulated::ApplicationHandle application);
  // For so long it does not answer well, from now on. Then it is calmed down. Nothing happens when it has ended.
  void impair(platform::simulated::ApplicationHandle application, Seconds duration);
  // Every application answers, and none is hidden.
  void calmDown();

  [[nodiscard]] std::size_t count() const { return applications.size(); }
  [[nodiscard]] platform::simulated::ApplicationHandle operator[](std::size_t place) const {
    return applications[place].handle;
  }
  [[nodiscard]] bool isRunning(platform::simulated::ApplicationHandle application) const { return find(application); }
  // Whether all have answered since `time`.
  [[nodiscard]] bool allAnsweredSince(Seconds time) const;
  // Whether it answered everything, in time and truly, since `time`. One that has ended does: that can be known.
  [[nodiscard]] bool answeredSince(platform::simulated::ApplicationHandle application, Seconds time) const;
  // The same up to `until`, whatever became of it then.
  [[nodiscard]] bool answeredBetween(platform::simulated::ApplicationHandle application, Seconds from,
                                     Seconds until) const;

 private:
  struct Application {
    platform::simulated::ApplicationHandle handle;
    std::optional<Seconds> impairedUntil{};   // Until then it does not answer well. Infinite: until it is told to.
    std::optional<Seconds> lastImpaired{};    // When it last did not.
    Seconds impairmentBegan{0};               // Of the newest impairment.
    std::optional<Seconds> impairedBefore{};  // The end of the one before that.
  };

  void calmDown(Application& application);
  [[nodiscard]] Application* find(platform::simulated::ApplicationHandle application);
  [[nodiscard]] const Application* find(platform::simulated::ApplicationHandle application) const;

  Stage& stage;
  std::vector<Application> applications;
};

}  // namespace quillard::simulation
