// The session's tests on a live radiotap device.
#pragma once

#include "PcapFaults.h"
#include "SessionFixture.h"
#include "simulated/TapDevice.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vantrel::testing {

class LiveSession : public SessionFixture {
protected:
    void SetUp() override {
        auto made = TapDevice::create();
        if (!made) {
            GTEST_SKIP() << "no live device: " << qPrintable(made.error().error.text());
        }
        tap.emplace(std::move(*made));
        airport.device = tap->name();
    }
    ~LiveSession() override { pcapFaults().clear(); }

    // Receives one frame: an empty radiotap header and `length` - 8 bytes that begin with the number.
    void receive(std::uint8_t number = 1, std::size_t length = 100) {
        std::vector<std::uint8_t> frame(length, number);
        const std::uint8_t radiotap[] = {0, 0, 8, 0, 0, 0, 0, 0};
        std::ranges::copy(radiotap, frame.begin());
        ASSERT_TRUE(tap->write(frame));
    }

    // Receives frames until the current file holds `count`; waits for each.
    void receiveInto(std::uint64_t count) {
        while (session->progress().frames < count) {
            const auto before = session->progress().frames;
            receive();
            ASSERT_TRUE(runUntil([&] { return session->progress().frames > before; }));
        }
    }

    std::optional<TapDevice> tap;
};

} // namespace vantrel::testing
