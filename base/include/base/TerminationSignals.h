// SIGTERM, SIGINT and SIGHUP as an ordinary signal on the main thread, so that a log-out ends a capture in good order.
#pragma once

#include "base/FileDescriptor.h"

#include <QObject>

namespace vantrel {

// One per program, made after the application object.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    TerminationSignals();
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested();

private:
    FileDescriptor _reader;
    FileDescriptor _writer;
};

} // namespace vantrel
