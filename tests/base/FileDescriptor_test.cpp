#include "base/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }

TEST(FileDescriptor, ClosesWhatItOwns) {
    int number = -1;
    {
        const FileDescriptor owner(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        number = owner.get();
        ASSERT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, MovingHandsTheDescriptorOn) {
    FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int number = first.get();
    FileDescriptor second(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int replaced = second.get();
    second = std::move(first);
    EXPECT_EQ(second.get(), number);
    EXPECT_FALSE(isOpen(replaced));
    EXPECT_EQ(second.release(), number);
    EXPECT_TRUE(isOpen(number));
    const FileDescriptor last(number);
}

} // namespace
} // namespace vantrel
