// Frames that find no memory: none of them unwinds through libpcap, and each is counted and told.
#include "SessionLive.h"
#include "engine/VantrelPacketOperation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int> operationsToFail = 0; // allocations of a frame's size that find no memory; all others do

bool mustFail(std::size_t size) {
    if (size != sizeof(vantrel::VantrelPacketOperation)) {
        return false;
    }
    int left = operationsToFail;
    while (left > 0 && !operationsToFail.compare_exchange_weak(left, left - 1)) {
    }
    return left > 0;
}

} // namespace

// NOLINTBEGIN(*-no-malloc): in the place of the library's own, which take from there too.
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return mustFail(size) ? nullptr : std::malloc(size);
}

void* operator new(std::size_t size) {
    if (void* memory = ::operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
// NOLINTEND(*-no-malloc)

namespace vantrel {
namespace {

class CaptureMemoryTest : public testing::LiveSession {};

TEST_F(CaptureMemoryTest, AFrameThatFindsNoMemoryIsCountedAndTold) {
    const testing::LogCapture log;
    ASSERT_TRUE(start());
    operationsToFail = 3;
    for (int frame = 0; frame < 3; ++frame) {
        receive();
    }
    ASSERT_TRUE(testing::runUntil([] { return operationsToFail == 0; }));
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), std::vector<std::uint64_t>{1});
    EXPECT_EQ(session->progress().framesDroppedByKernel, 3U);
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("3 of 4 frames were dropped before they could be captured")));
}

} // namespace
} // namespace vantrel
