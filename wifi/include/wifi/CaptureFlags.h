// What the capture session and the hop loop tell each other: three flags that any thread may read and write.
#pragma once

#include <atomic>

namespace vantrel {

// The low two bits say which bands are hopped across; the custom list has a value of its own.
enum class CaptureMode { SingleChannel = 0, All2Dot4GHz = 1, All5GHz = 2, AllChannels = 3, Custom = 4 };

struct CaptureFlags {
    std::atomic<bool> capturing = false;      // from captureDidStart to captureDidEnd; written on the main thread
    std::atomic<bool> hoppingStarted = false; // cleared as a hop loop starts, set before its first tuning
    std::atomic<CaptureMode> mode = CaptureMode::SingleChannel; // written on the main thread before a capture starts
};

} // namespace vantrel
