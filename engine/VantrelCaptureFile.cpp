#include "engine/VantrelCaptureFile.h"

#include "CaptureTexts.h"
#include "engine/WholeRecords.h"

#include <cstdio>
#include <fcntl.h>
#include <pcap/pcap.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr std::size_t streamBuffer = std::size_t{256} * 1024;

} // namespace

void PcapCloser::operator()(pcap* handle) const noexcept { pcap_close(handle); }

std::unique_ptr<VantrelCaptureFile> VantrelCaptureFile::initWithPath(const QString& path, int dataLinkType) {
    PcapHandle device(pcap_open_dead(dataLinkType, snapshotLength));
    if (!device) {
        qCWarning(lcCapture, texts::pcapOpenDeadFailed, qUtf8Printable(path));
        return nullptr;
    }
    // Opened here and not by libpcap, which would follow a planted link and make the file readable by others.
    FileDescriptor file(::open(qUtf8Printable(path), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    FileDescriptor second(file.isOpen() ? ::fcntl(file.get(), F_DUPFD_CLOEXEC, 0) : -1);
    std::FILE* stream = second.isOpen() ? ::fdopen(second.get(), "wb") : nullptr;
    if (stream == nullptr) {
        const Error error = Error::fromErrno(path); // taken first: the log may look at files of its own
        qCWarning(lcCapture, texts::pcapDumpOpenFailed, qUtf8Printable(path), qUtf8Printable(error.why));
        if (file.isOpen()) {
            ::unlink(qUtf8Printable(path)); // made just now
        }
        return nullptr;
    }
    static_cast<void>(second.release()); // the stream owns it now
    // Larger than the longest record, so that the stream never writes on its own in the middle of one. The C library
    // takes the size from us only together with the memory.
    std::unique_ptr<char[]> buffer(new char[streamBuffer]);
    std::setvbuf(stream, buffer.get(), _IOFBF, streamBuffer);
    ::__fsetlocking(stream, FSETLOCKING_BYCALLER); // one thread writes: no lock for each part of a record
    pcap_dumper* dumpfile = pcap_dump_fopen(device.get(), stream);
    if (dumpfile == nullptr) {
        qCWarning(lcCapture, texts::pcapDumpOpenFailed, qUtf8Printable(path), pcap_geterr(device.get()));
        std::fclose(stream);
        ::unlink(qUtf8Printable(path));
        return nullptr;
    }
    std::unique_ptr<VantrelCaptureFile> made(
        new VantrelCaptureFile(path, std::move(device), std::move(buffer), dumpfile, std::move(file)));
    // So that it can be read from the start. A disk that is full already is noticed again by the next flush.
    static_cast<void>(made->flush());
    return made;
}

VantrelCaptureFile::VantrelCaptureFile(QString path, PcapHandle device, std::unique_ptr<char[]> buffer,
                                       pcap_dumper* dumpfile, FileDescriptor file)
    : _path(std::move(path)),
      _creationTime(QDateTime::currentDateTime()),
      _device(std::move(device)),
      _buffer(std::move(buffer)),
      _dumpfile(dumpfile),
      _file(std::move(file)),
      _buffered(fileHeaderLength) {}

VantrelCaptureFile::~VantrelCaptureFile() { close(); }

void VantrelCaptureFile::dumpWithHeader(const pcap_pkthdr& header, const std::uint8_t* data) {
    if (_dumpfile == nullptr || _writeError) {
        return;
    }
    const std::size_t record = recordHeaderLength + header.caplen;
    if (_buffered + record > streamBuffer && !flush()) {
        return;
    }
    _size.store(size() + header.caplen + countedPerFrame, std::memory_order_relaxed);
    _frames.store(frames() + 1, std::memory_order_relaxed);
    pcap_dump(reinterpret_cast<u_char*>(_dumpfile), &header, data);
    _buffered += record;
}

Expected<void> VantrelCaptureFile::flush() {
    if (_writeError) {
        return tl::unexpected(*_writeError);
    }
    if (_dumpfile == nullptr || _buffered == 0) {
        return {};
    }
    if (pcap_dump_flush(_dumpfile) != 0) {
        noteWriteError(Error::fromErrno(QStringLiteral("pcap_dump_flush")));
        return tl::unexpected(*_writeError);
    }
    _flushedOffset += _buffered;
    _flushedFrames = frames();
    _flushedSize = size();
    _buffered = 0;
    return {};
}

void VantrelCaptureFile::noteWriteError(Error error) {
    const off_t reached = ::lseek(_file.get(), 0, SEEK_CUR); // both descriptors share one position
    _reachedOffset = reached < 0 ? _flushedOffset : static_cast<std::uint64_t>(reached);
    qCWarning(lcCapture, "%s() failed for file %s: %s", qUtf8Printable(error.what), qUtf8Printable(_path),
              qUtf8Printable(error.why));
    _writeError = std::move(error);
}

void VantrelCaptureFile::close() {
    if (_dumpfile == nullptr) {
        return;
    }
    static_cast<void>(flush());
    pcap_dump_close(_dumpfile);
    _dumpfile = nullptr;
    if (_writeError) {
        cutToWholeRecords();
    }
    _file.reset();
    _device.reset();
}

// What lies before the last good flush is whole; behind it the failed write may have ended inside a record.
void VantrelCaptureFile::cutToWholeRecords() {
    std::uint64_t start = _flushedOffset;
    if (start == 0 && _reachedOffset >= fileHeaderLength) {
        start = fileHeaderLength;
    }
    WholeRecords kept{.end = start};
    if (start >= fileHeaderLength) {
        kept = wholeRecords(start, _reachedOffset, [this](std::uint64_t offset, std::span<std::uint8_t> bytes) {
            return ::pread(_file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
                   static_cast<ssize_t>(bytes.size());
        });
    }
    if (::ftruncate(_file.get(), static_cast<off_t>(kept.end)) != 0) {
        const Error error = Error::fromErrno(_path);
        qCWarning(lcCapture, "ftruncate() failed for file %s: %s", qUtf8Printable(_path), qUtf8Printable(error.why));
    }
    _frames.store(_flushedFrames + kept.frames, std::memory_order_relaxed);
    _size.store(_flushedSize + kept.size, std::memory_order_relaxed);
}

void VantrelCaptureFile::remove() const { ::unlink(qUtf8Printable(_path)); }

} // namespace vantrel
