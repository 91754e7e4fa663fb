#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "private-desktop/TemporaryFolder.h"
#include "private-desktop/Waiting.h"

namespace quillard::privatedesktop {
namespace {

namespace fs = std::filesystem;

// As when somebody presses Control-C while ./run comes up.
TEST(TemporaryFolder, GoesWithItsGroupWheneverThatIsEnded) {
  const TemporaryFolder place;
  for (int microseconds = 0; microseconds < 3000; microseconds += 50) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::setpgid(0, 0);
      ::setenv("TMPDIR", place.path().c_str(), 1);
      const TemporaryFolder folder;
      ::pause();
    }
    ::setpgid(child, child);
    ::usleep(static_cast<useconds_t>(microseconds));
    ::kill(-child, SIGINT);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(waitFor([&] { return fs::is_empty(place.path()); })) << "after " << microseconds << " microseconds";
  }
}

}  // namespace
}  // namespace quillard::privatedesktop
