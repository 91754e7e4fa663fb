#include "contract/process/ApplicationContract.h"

#include <vector>

#include <gmock/gmock.h>

#include "support/RecordingDelegate.h"

namespace quillard::test {
namespace {

using platform::ApplicationMenuAction;
using testing::ElementsAre;
using testing::IsEmpty;

// An application with a delegate that keeps what it is called for.
class Process {
 public:
  explicit Process(const ApplicationCase& given) : binding(given.make()) {}

  platform::Application& application() { return binding->application(); }
  std::vector<std::string>& calls() { return delegate->calls; }
  void launch() {
    application().setDelegate(delegate);
    binding->runTurns();
  }

  const std::unique_ptr<ApplicationBinding> binding;
  const std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
};

TEST_P(ApplicationContract, HasTheNumberOfAProcess) {
  Process process(GetParam());
  EXPECT_GT(process.application().processIdentifier(), 0);
  EXPECT_EQ(process.application().processIdentifier(), process.application().processIdentifier());
}

TEST_P(ApplicationContract, HasLaunchedOnceTheLoopRuns) {
  Process process(GetParam());
  process.application().setDelegate(process.delegate);
  EXPECT_THAT(process.calls(), IsEmpty());
  process.binding->runTurns();
  process.binding->runTurns();
  EXPECT_THAT(process.calls(), ElementsAre("did finish launching"));
}

TEST_P(ApplicationContract, HasLaunchedInALaterTurnThanTheOneThatSetsTheDelegate) {
  Process process(GetParam());
  process.binding->mainThread().post([&] {
    process.application().setDelegate(process.delegate);
    process.calls().emplace_back("end of the turn");
  });
  process.binding->runTurns();
  EXPECT_THAT(process.calls(), ElementsAre("end of the turn", "did finish launching"));
}

TEST_P(ApplicationContract, EndsAfterThePresentTurnAndCallsTheDelegateOnceBeforeThat) {
  Process process(GetParam());
  process.delegate->onLaunch = [&] {
    process.application().terminate();
    process.application().terminate();
    process.calls().emplace_back("end of the turn");
  };
  process.application().setDelegate(process.delegate);
  EXPECT_TRUE(process.binding->runToEnd());
  EXPECT_THAT(process.calls(), ElementsAre("did finish launching", "end of the turn", "will terminate"));
  process.application().terminate();
  process.binding->runTurns();
  EXPECT_EQ(process.calls().size(), 3U);
}

TEST_P(ApplicationContract, EndsWithoutADelegateToo) {
  Process process(GetParam());
  auto shortLived = std::make_shared<RecordingDelegate>();
  process.application().setDelegate(shortLived);
  shortLived.reset();
  process.binding->mainThread().post([&] { process.application().terminate(); });
  EXPECT_TRUE(process.binding->runToEnd());
}

TEST_P(ApplicationContract, ASecondStartAsksTheDelegate) {
  Process process(GetParam());
  process.launch();
  if (!process.binding->reopen(true)) GTEST_SKIP() << "On this system a second start runs a second process.";
  process.binding->reopen(false);
  process.binding->runTurns();
  EXPECT_THAT(process.calls(), ElementsAre("did finish launching", "reopen with windows", "reopen"));
  process.binding->mainThread().post([&] { process.application().terminate(); });
  EXPECT_TRUE(process.binding->runToEnd());
  process.binding->reopen(true);
  process.binding->runTurns();
  EXPECT_EQ(process.calls().back(), "will terminate") << "Nothing is called after the end.";
}

TEST_P(ApplicationContract, MenuItemsThatAreEnabledDoWhatTheyAreFor) {
  Process process(GetParam());
  process.launch();
  const auto choice = [&](const char* name) {
    return [&process, name] {
      EXPECT_TRUE(process.binding->mainThread().isCurrent()) << name;
      process.calls().emplace_back(name);
    };
  };
  process.application().setApplicationMenu("Old", {{.title = "Gone", .onChoice = choice("gone")}});
  process.application().setApplicationMenu("New",
                                           {{.title = "First", .onChoice = choice("first")},
                                            {.title = "", .onChoice = choice("separator")},
                                            {.title = "Disabled", .isEnabled = false, .onChoice = choice("disabled")},
                                            {.title = "No effect"},
                                            {.title = "Second", .keyEquivalent = "s", .onChoice = choice("second")}});
  process.binding->mainThread().post([&] {
    for (const auto* title : {"Second", "Gone", "", "Disabled", "No effect", "First"}) process.binding->choose(title);
  });
  process.binding->runTurns();
  EXPECT_THAT(process.calls(), ElementsAre("did finish launching", "second", "first"));
}

TEST_P(ApplicationContract, TheMenuMayEndTheApplication) {
  Process process(GetParam());
  process.application().setApplicationMenu(
      "Quillard", {{.title = "Quit", .action = ApplicationMenuAction::terminate, .keyEquivalent = "q"}});
  process.delegate->onLaunch = [&] { process.binding->choose("Quit"); };
  process.application().setDelegate(process.delegate);
  EXPECT_TRUE(process.binding->runToEnd());
  EXPECT_THAT(process.calls(), ElementsAre("did finish launching", "will terminate"));
}

}  // namespace
}  // namespace quillard::test
