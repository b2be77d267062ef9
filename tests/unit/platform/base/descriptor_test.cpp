#include "platform/base/descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace kinora::base {
namespace {

bool IsOpen(int fd) { return ::fcntl(fd, F_GETFD) != -1; }

TEST(Descriptor, ClosesWhatItHoldsAtTheEndOfItsScope) {
  const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  { const Descriptor held(fd); }
  EXPECT_FALSE(IsOpen(fd));
}

TEST(Descriptor, PassesOwnershipWhenMoved) {
  Descriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int fd = first.Get();
  Descriptor second(std::move(first));
  EXPECT_EQ(second.Get(), fd);
  EXPECT_TRUE(IsOpen(fd));
  EXPECT_EQ(second.Release(), fd);
  EXPECT_FALSE(second);
  ::close(fd);
}

TEST(Descriptor, KeepsErrnoWhenClosing) {
  Descriptor held(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  errno = ENOSPC;
  held.Reset();
  EXPECT_EQ(errno, ENOSPC);
}

}  // namespace
}  // namespace kinora::base
