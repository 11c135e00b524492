// One pcap file that is being written.
//
// Ownership: the capture session holds the current one; the file on disk outlives the object until remove().
// Threads: one thread writes at a time (the packet queue's); size() and frames() may be read on any thread.
// The records stand in a buffer until flush() or close(), always whole, so a failed write never tears a record.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "engine/PcapHandles.h"

#include <QDateTime>
#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace vantrel {

class VantrelCaptureFile {
public:
    // Makes a new file (mode 0600) and never follows a link or takes over a file that is already there.
    // Logs the failing call and answers nothing when the file cannot be made.
    [[nodiscard]] static std::unique_ptr<VantrelCaptureFile> initWithPath(const QString& path, int dataLinkType);
    ~VantrelCaptureFile();
    VantrelCaptureFile(const VantrelCaptureFile&) = delete;
    VantrelCaptureFile& operator=(const VantrelCaptureFile&) = delete;

    // Appends one record of header.caplen bytes; does nothing once the file is closed or a write has failed.
    void dumpWithHeader(const pcap_pkthdr& header, const std::uint8_t* data);

    // Gives everything written so far to the operating system, so that a killed program leaves a readable file.
    [[nodiscard]] Expected<void> flush();

    // Flushes and closes. After a failed write it cuts the file back to its whole records and counts just those.
    // Safe to call more than once.
    void close();

    // Deletes the file at path(); errors are ignored. Does not close it.
    void remove() const;

    // The sum of (captured length + 24) over all frames. A limit compares against this estimate; on disk a record
    // has a header of 16 bytes, and the file one of 24.
    [[nodiscard]] std::uint64_t size() const noexcept { return _size.load(std::memory_order_relaxed); }
    [[nodiscard]] std::uint64_t frames() const noexcept { return _frames.load(std::memory_order_relaxed); }
    [[nodiscard]] const QString& path() const noexcept { return _path; }
    [[nodiscard]] const QDateTime& creationTime() const noexcept { return _creationTime; }

    // Why writing stopped; empty while all is well. Writing thread, or any thread once that has ended.
    [[nodiscard]] const std::optional<Error>& writeError() const noexcept { return _writeError; }

private:
    VantrelCaptureFile(QString path, PcapHandle device, std::unique_ptr<char[]> buffer, pcap_dumper* dumpfile,
                       FileDescriptor file);
    void noteWriteError(Error error);
    void cutToWholeRecords();

    QString _path;
    QDateTime _creationTime;
    PcapHandle _device;               // a dead handle: it carries the data-link type and is only written with
    std::unique_ptr<char[]> _buffer;  // the stream's; outlives it
    pcap_dumper* _dumpfile = nullptr; // owned; none once closed
    FileDescriptor _file;             // a second descriptor of the same file, for cutting it back
    std::atomic<std::uint64_t> _size = 0;
    std::atomic<std::uint64_t> _frames = 0;
    std::size_t _buffered = 0;        // bytes in the stream's buffer
    std::uint64_t _flushedOffset = 0; // the file's length at the last good flush: a record's boundary
    std::uint64_t _flushedFrames = 0; // frames before that boundary
    std::uint64_t _flushedSize = 0;   // size() of those frames
    std::uint64_t _reachedOffset = 0; // how far the failed write got
    std::optional<Error> _writeError;
};

} // namespace vantrel
