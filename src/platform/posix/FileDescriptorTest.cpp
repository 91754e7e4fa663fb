#include <array>
#include <cerrno>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/posix/FileDescriptor.h"

namespace quillard::posix {
namespace {

bool isOpen(int number) { return ::fcntl(number, F_GETFD) != -1; }

TEST(FileDescriptor, IsClosedWithItsScope) {
  int number = -1;
  {
    const FileDescriptor file(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    number = file.get();
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(isOpen(number));
  }
  EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, IsClosedOnceWhereItWasHandedOver) {
  FileDescriptor first(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const int number = first.get();
  {
    const FileDescriptor second(std::move(first));
    EXPECT_EQ(second.get(), number);
    EXPECT_FALSE(first.isOpen());  // NOLINT(bugprone-use-after-move): that it is empty is what is tested.
  }
  EXPECT_FALSE(isOpen(number));
}

TEST(WriteAll, WritesMoreThanThereIsRoomForAtOnce) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const FileDescriptor reading(ends[0]);
  const std::string text(1'000'000, 'x');
  std::string read;
  std::thread reader([&] {
    std::array<char, 4096> piece{};
    for (ssize_t count = 0; (count = ::read(reading.get(), piece.data(), piece.size())) > 0;) {
      read.append(piece.data(), static_cast<std::size_t>(count));
    }
  });
  {
    const FileDescriptor writing(ends[1]);
    EXPECT_TRUE(writeAll(writing.get(), text));
  }
  reader.join();
  EXPECT_EQ(read, text);
}

TEST(WriteAll, SaysWhyNotAllOfItIsWritten) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(full.isOpen());
  EXPECT_FALSE(writeAll(full.get(), "text"));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_TRUE(writeAll(full.get(), ""));
}

}  // namespace
}  // namespace quillard::posix
