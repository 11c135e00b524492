// Tells the delegate of the Wi-Fi service which of the monitored things have changed.
#pragma once

#include "wifi/CWWiFiClient.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

namespace vantrel {

class EventTeller {
public:
    // Any thread. Waits until a call to the former delegate has ended, unless made from within it; after that the
    // former is not called again. Borrowed.
    void setDelegate(CWEventDelegate* delegate);

    // Any thread.
    void monitor(CWEventType type);

    // One thread at a time; calls the delegate before it returns. The name is the adapter's.
    void tell(CWEventType type, const QString& name);

private:
    std::mutex _mutex;
    std::condition_variable _told;
    CWEventDelegate* _delegate = nullptr; // guarded by _mutex; borrowed
    std::set<CWEventType> _monitored;     // guarded by _mutex
    std::thread::id _teller;              // guarded by _mutex: who calls the delegate now, without the mutex
};

} // namespace vantrel
