// What the loopback feed asks of the application around it. Main thread.
#pragma once

namespace vantrel {

class CaptureControls {
public:
    virtual ~CaptureControls() = default;
    // While a client is served, nobody else may capture; they are also enabled again by a capture that never came so
    // far as to disable them.
    virtual void disableCaptures() = 0;
    virtual void enableCaptures() = 0;
    // Whether the user's own capture runs. No client is served meanwhile.
    [[nodiscard]] virtual bool isCapturing() const = 0;
};

} // namespace vantrel
