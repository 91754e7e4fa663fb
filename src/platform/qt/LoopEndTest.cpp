#include <memory>
#include <string>
#include <vector>

#include <QtCore/QCoreApplication>
#include <gtest/gtest.h>

#include "platform/qt/LoopEnd.h"
#include "platform/qt/QtExecutors.h"
#include "support/RecordingDelegate.h"

namespace quillard::qt {
namespace {

class LoopEndTest : public testing::Test {
 protected:
  // Fails the test instead of hanging it.
  void SetUp() override {
    alarm = executors.mainThread().postAfter(Seconds{20}, [] { QCoreApplication::exit(1); });
  }

  QtExecutors executors;
  LoopEnd loopEnd{executors.mainThread()};
  platform::TaskHandle alarm;
  const std::shared_ptr<test::RecordingDelegate> delegate = std::make_shared<test::RecordingDelegate>();
};

TEST_F(LoopEndTest, CallsTheDelegateAfterThePresentTurnAndBeforeTheLoopEnds) {
  loopEnd.setDelegate(delegate);
  executors.mainThread().post([this] {
    loopEnd.terminate();
    delegate->calls.emplace_back("end of the turn");
  });
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_EQ(delegate->calls, (std::vector<std::string>{"end of the turn", "will terminate"}));
}

TEST_F(LoopEndTest, CallsItOnceHoweverOftenItIsAsked) {
  loopEnd.setDelegate(delegate);
  executors.mainThread().post([this] {
    loopEnd.terminate();
    loopEnd.terminate();
  });
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_EQ(delegate->calls, std::vector<std::string>{"will terminate"});
}

TEST_F(LoopEndTest, CallsItWhenTheUserOrTheSystemEndsTheLoop) {
  loopEnd.setDelegate(delegate);
  executors.mainThread().post([] { QCoreApplication::quit(); });  // What Qt makes of the system's request.
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_EQ(delegate->calls, std::vector<std::string>{"will terminate"});
}

TEST_F(LoopEndTest, CallsNothingWhenItIsGone) {
  {
    LoopEnd shortLived(executors.mainThread());
    shortLived.setDelegate(delegate);
  }
  executors.mainThread().post([] { QCoreApplication::quit(); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_TRUE(delegate->calls.empty());
}

TEST_F(LoopEndTest, ADelegateThatIsGoneIsNotCalled) {
  auto shortLived = std::make_shared<test::RecordingDelegate>();
  loopEnd.setDelegate(shortLived);
  shortLived.reset();
  executors.mainThread().post([this] { loopEnd.terminate(); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

}  // namespace
}  // namespace quillard::qt
