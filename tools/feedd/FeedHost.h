// The life of vantrel-feedd: from an adapter that is ready to the signal that ends it.
#pragma once

#include "base/Error.h"
#include "base/ThreadStarter.h"

namespace vantrel {
class CWInterface;
}

namespace vantrel::feedd {

// Whether this thread may open network devices for capturing; to be asked where the adapter is a network device. An
// error says what is missing.
[[nodiscard]] Expected<void> mayCapture();

// Main thread; needs the application object. Offers the feed of this adapter, prints its port on standard output,
// and answers how the program ends, once a signal has asked for it and the captures have put the adapter back.
// The thread starter starts the threads that run libpcap.
[[nodiscard]] int serve(CWInterface& airport, const ThreadStarter& startCaptureThread);

} // namespace vantrel::feedd
