#include <filesystem>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "contract/process/LocalSocketsContract.h"
#include "platform/macos/process/MacSocketPeer.h"
#include "platform/qt/QtExecutors.h"
#include "support/TemporaryFolder.h"

// The contract of sockets over the system's own functions for files, and fakes of those for processes.
namespace quillard::test {
namespace {

class MacSocketsBinding final : public LocalSocketsBinding {
 public:
  MacSocketsBinding() {
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    ticking.start(std::chrono::milliseconds{1});
  }
  platform::LocalSockets& server() override { return sockets; }
  platform::LocalSockets& client() override { return sockets; }
  platform::ProcessDescription clientProcess() override { return macos::describeProcess(::getpid()); }
  void leaveSocketBehind(const std::string& name) override {
    ::close(desktop::listenIn(macos::localSocketTraits(folder).folder().value(), name).value().descriptor);
  }
  bool holds(const std::string& name) override { return std::filesystem::exists(folder + "/" + name); }
  void makeFolderUnusable() override {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all | std::filesystem::perms::group_read);
  }
  bool eventually(const std::function<bool()>& condition) override {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{5};
    while (!condition() && std::chrono::steady_clock::now() < end) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 5);
      QCoreApplication::sendPostedEvents();
    }
    return condition();
  }

 private:
  QTimer ticking;
  const TemporaryFolder temporary;
  const std::string folder = temporary.path() + "/T";
  qt::QtExecutors executors;
  qt::QtLocalSockets sockets{macos::localSocketTraits(folder + "/"), executors.mainThread()};
};

std::unique_ptr<LocalSocketsBinding> makeMacSockets() { return std::make_unique<MacSocketsBinding>(); }

INSTANTIATE_TEST_SUITE_P(Mac, LocalSocketsContract, testing::Values(&makeMacSockets));

TEST(MacSocketPeer, TellsTheParentAsWell) {
  int pair[2] = {};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const auto peer = macos::peerOf(pair[0]);
  ::close(pair[0]);
  ::close(pair[1]);
  ASSERT_TRUE(peer.has_value());
  EXPECT_TRUE(peer->isThisProgram);
  ASSERT_TRUE(peer->parent.has_value());
  EXPECT_EQ(peer->parent->processIdentifier, ::getppid());
}

TEST(MacSocketPeer, SaysNothingOfWhatIsNoSocketOfTheFileSystem) {
  int pipe[2] = {};
  ASSERT_EQ(::pipe(pipe), 0);
  EXPECT_FALSE(macos::peerOf(pipe[0]).has_value());
  EXPECT_FALSE(macos::peerOf(-1).has_value());
  ::close(pipe[0]);
  ::close(pipe[1]);
}

}  // namespace
}  // namespace quillard::test
