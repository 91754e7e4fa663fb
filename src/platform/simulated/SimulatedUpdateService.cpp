#include "platform/simulated/SimulatedUpdateService.h"

#include <utility>

namespace quillard::platform::simulated {

struct SimulatedUpdateService::Session {
  std::shared_ptr<UpdateEvents> events;  // Those of the controller that is still there; empty without one.
  std::optional<std::string> offer;
  int userChecks = 0;
  bool isShowingWindow = false;
};

namespace {

void post(Executors& executors, const std::shared_ptr<UpdateEvents>& events,
          std::function<void(const UpdateEvents&)> what) {
  executors.mainThread().post([told = std::weak_ptr(events), what = std::move(what)] {
    if (const auto present = told.lock()) what(*present);
  });
}

class SimulatedUpdateController final : public UpdateController {
 public:
  SimulatedUpdateController(Executors& executors, std::shared_ptr<SimulatedUpdateService::Session> session)
      : executors(executors), session(std::move(session)) {}
  ~SimulatedUpdateController() override {
    session->events.reset();
    session->isShowingWindow = false;
  }

  void checkForUpdates() override {
    ++session->userChecks;
    session->isShowingWindow = true;
    if (!session->offer) return;
    post(executors, session->events, [version = *session->offer](const UpdateEvents& told) {
      if (told.willHandleShowingUpdate) told.willHandleShowingUpdate(true, version);
    });
  }

 private:
  Executors& executors;
  std::shared_ptr<SimulatedUpdateService::Session> session;
};

}  // namespace

SimulatedUpdateService::SimulatedUpdateService(Executors& executors)
    : executors(executors), session(std::make_shared<Session>()) {}

void SimulatedUpdateService::setOffer(std::optional<std::string> displayVersion) {
  session->offer = std::move(displayVersion);
}

int SimulatedUpdateService::userCheckCount() const { return session->userChecks; }

bool SimulatedUpdateService::isShowingWindow() const { return session->isShowingWindow; }

void SimulatedUpdateService::runScheduledCheck() {
  if (!session->offer) return;
  tell([version = *session->offer](const UpdateEvents& told) {
    if (told.willHandleShowingUpdate) told.willHandleShowingUpdate(false, version);
  });
}

void SimulatedUpdateService::giveUserAttention() {
  tell([](const UpdateEvents& told) {
    if (told.didReceiveUserAttention) told.didReceiveUserAttention();
  });
}

void SimulatedUpdateService::finishSession() {
  session->isShowingWindow = false;
  tell([](const UpdateEvents& told) {
    if (told.willFinishUpdateSession) told.willFinishUpdateSession();
  });
}

void SimulatedUpdateService::tell(std::function<void(const UpdateEvents&)> what) {
  post(executors, session->events, std::move(what));
}

std::unique_ptr<UpdateController> SimulatedUpdateService::makeController(UpdateEvents events) {
  if (!isPresent) return nullptr;
  ++controllers;
  session->events = std::make_shared<UpdateEvents>(std::move(events));
  return std::make_unique<SimulatedUpdateController>(executors, session);
}

}  // namespace quillard::platform::simulated
