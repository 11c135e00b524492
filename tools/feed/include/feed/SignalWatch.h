// The signals that end, stop or resize a program at a terminal, as ordinary ones on the main thread.
//
// One per program. Signals that were ignored when the program was started (nohup, a job in the background of a script)
// stay ignored.
#pragma once

#include "base/FileDescriptor.h"

#include <QObject>
#include <memory>

namespace vantrel::feed {

class SignalWatch : public QObject {
    Q_OBJECT

public:
    // Main thread, before any other thread is started: keeps the signals from ending the process at once, also the one
    // that would tell of a reader that has gone (SIGPIPE), as write() tells it too.
    static void holdBack();

    // Main thread, after the application object and holdBack().
    SignalWatch();

    // Readable as soon as the program is asked to end, also while the event loop does not run.
    [[nodiscard]] int endDescriptor() const { return _end.get(); }

    // Stops the process, as Ctrl+Z asks, and returns when it goes on.
    static void stopProcess();

Q_SIGNALS:
    void endRequested();  // SIGINT, SIGTERM, SIGHUP, SIGQUIT
    void stopRequested(); // SIGTSTP
    void continued();     // SIGCONT
    void resized();       // SIGWINCH

private:
    void readTerminal();

    FileDescriptor _end;
    FileDescriptor _terminal;
};

} // namespace vantrel::feed
