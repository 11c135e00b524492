// One connection to the capture service: its records as they come, and why it ended.
//
// The service listens on 127.0.0.1 alone, and only there it is looked for. Main thread. A receiver that does not
// return makes the service wait; nothing piles up here.
#pragma once

#include "base/FileDescriptor.h"
#include "feed/RecordReader.h"

#include <QObject>
#include <QSocketNotifier>
#include <cstdint>
#include <memory>
#include <span>

namespace vantrel::feed {

class FeedClient : public QObject {
    Q_OBJECT

public:
    enum class End { Refused, ClosedUnserved, Closed, ClosedInsideRecord, NoFeed, Failed };
    Q_ENUM(End)

    // Once an object. The answer is always a signal.
    void connectTo(quint16 port);
    // No signal comes after this.
    void close();

Q_SIGNALS:
    void connected();
    // Borrowed for the call. The receiver may close().
    void recordCame(std::span<const std::uint8_t> record);
    // Everything that was there to be read has been.
    void caughtUp();
    void ended(vantrel::feed::FeedClient::End how, const QString& text);

private:
    void watch(QSocketNotifier::Type what, void (FeedClient::*handle)());
    void dropNotifier();
    void connectEnded();
    void read();
    void take(std::span<const std::uint8_t> bytes);
    void streamEnded();
    void failed(int error);
    void end(End how, const QString& text);

    FileDescriptor _socket;
    std::unique_ptr<QSocketNotifier> _notifier; // on _socket
    RecordReader _reader;
    quint16 _port = 0;
    bool _served = false; // something came
    bool _ended = false;
};

} // namespace vantrel::feed
