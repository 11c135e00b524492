// The content of a file as the body of one request: read in passing, so that a large capture needs no memory of its
// size.
#pragma once

#include "base/FileDescriptor.h"

#include <QIODevice>

namespace vantrel {

// Its length is that of the file when it was opened: the request has announced it. What the file grows by later is not
// sent; when it turns out shorter, reading fails. It cannot be read again, not even from its very beginning: whenever a
// server closes the connection without an answer, the network library would otherwise send the request up to four
// times, and each time the service might keep one more copy of the capture.
class UploadBody : public QIODevice {
    Q_OBJECT
public:
    // A file that cannot be read, and anything that is no file, is an empty body, which is logged.
    explicit UploadBody(const QString& path);

    [[nodiscard]] bool becameShorter() const { return _becameShorter; }
    // The system's words; empty while nothing has failed.
    [[nodiscard]] const QString& readFailure() const { return _readFailure; }

    [[nodiscard]] qint64 size() const override { return _size; }
    [[nodiscard]] bool isSequential() const override { return false; }
    [[nodiscard]] bool atEnd() const override { return _read >= _size; }
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    FileDescriptor _file;
    qint64 _size = 0;
    qint64 _read = 0;
    bool _becameShorter = false;
    QString _readFailure;
};

} // namespace vantrel
