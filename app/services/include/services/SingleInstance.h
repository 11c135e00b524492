// Only one instance of the program runs per user session: a second start brings the first forward and ends.
//
// The first holds a lock on `instance.lock` in the user's runtime folder ($XDG_RUNTIME_DIR/vantrel, or a private
// folder among the temporary files) and listens on the socket `instance.socket` beside it; no session bus is needed.
// The kernel drops the lock of a process that ends in whatever way, so nothing is ever stale. Main thread.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <memory>

class QLocalSocket;

namespace vantrel {

class SingleInstance : public QObject {
    Q_OBJECT

public:
    // Becomes the first instance and returns it, to be kept as long as the program runs; an empty pointer when another
    // runs and has been asked to come forward with `token`, so that this start ends. Needs the application object and
    // waits at most a few seconds. An error when neither works: the folder is not ours, or another instance holds the
    // lock and does not listen.
    [[nodiscard]] static Expected<std::unique_ptr<SingleInstance>> claim(const QString& token);

    // The token by which the starter lets this start take the focus: XDG_ACTIVATION_TOKEN, else DESKTOP_STARTUP_ID,
    // else empty. To be read before the application object is made, which takes them out of the environment.
    [[nodiscard]] static QString activationTokenOfThisStart();

Q_SIGNALS:
    // Another start asks this instance to come forward; the token is empty when that start had none.
    void activationRequested(const QString& token);

private:
    explicit SingleInstance(FileDescriptor lock);
    [[nodiscard]] Expected<void> listen(const QString& socketPath);
    void accept(QLocalSocket* peer);
    void receive(QLocalSocket* peer);

    FileDescriptor _lock; // released last, so that whoever gets it finds the socket closed
    QLocalServer _server;
};

} // namespace vantrel
