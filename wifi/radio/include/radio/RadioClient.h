// The machine's real Wi-Fi adapter: a client of vantrel-radio, the process that alone changes it.
//
// The client starts the process and talks to it over a socket pair. What can be read (names, channels, association,
// power) is answered from the last announcement and never waits; what changes the adapter waits until the process has
// done it. When the process dies, every waiting call fails with a readable text, the adapter counts as absent, its
// monitor modes are void, and the process is started again, which puts back what its predecessor had changed.
#pragma once

#include "wifi/CWWiFiClient.h"

#include <QString>
#include <QStringList>
#include <chrono>
#include <memory>

namespace vantrel {

struct RadioOptions {
    QString program;                             // path of vantrel-radio
    QStringList arguments;                       // the process finds its end of the socket pair at descriptor 3
    std::chrono::milliseconds answerTime{20000}; // a request that takes longer has failed
    std::chrono::milliseconds startTime{5000};   // for the first announcement
    std::chrono::milliseconds endTime{6000};     // for the process to put the adapter back when the client is destroyed
    // After a death the process is started again at once; when that one dies young, after this pause, which doubles
    // with each further young death up to thirtyfold.
    std::chrono::milliseconds restartPause{1000};
    std::chrono::milliseconds youth{10000}; // a process that lived longer was well
};

// Main thread. Waits for the first announcement; fails when the process cannot be started, ends before it (a machine
// without Wi-Fi), or said only what cannot be read. One that takes longer is waited for no more: the adapter is absent
// until it speaks.
//
// Destroying the client closes the socket, which makes the process put the adapter back, and waits for its end at most
// `endTime`; then it is left to finish by itself. Monitor modes may outlive the client and are void then. Delegates are
// called on the client's own thread, and must not ask for a change of the adapter there: that fails.
[[nodiscard]] Expected<std::unique_ptr<CWWiFiClient>> makeRadioClient(const RadioOptions& options);

} // namespace vantrel
