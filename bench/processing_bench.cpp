// What one frame costs at each step of its way. Frames have 200 bytes where their kind allows it.
#include "engine/LiveFlag.h"
#include "engine/PacketQueue.h"
#include "engine/VantrelCaptureFile.h"
#include "engine/VantrelPacketOperation.h"
#include "frames/RadioHeader.h"
#include "frames/Slicing.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <pcap/pcap.h>
#include <vector>
#include <zlib.h>

namespace {

using namespace vantrel;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t frameSize = 200;
constexpr std::uint64_t framesPerFile = 1'000'000; // then the file is begun anew, outside the clock

// Radiotap with Flags alone, then an 802.11 frame of that frame control; the check sequence at its end when wished.
Bytes radiotapFrame(std::uint8_t type, bool fcs, std::size_t size = frameSize) {
    Bytes frame{0, 0, 9, 0, 2, 0, 0, 0, static_cast<std::uint8_t>(fcs ? 0x10 : 0), type, 0x02};
    for (std::size_t index = frame.size(); index < size; ++index) {
        frame.push_back(static_cast<std::uint8_t>(index * 7));
    }
    if (fcs) {
        const uLong crc = ::crc32(0, frame.data() + 9, static_cast<uInt>(size - 9 - 4));
        for (unsigned byte = 0; byte < 4; ++byte) {
            frame[size - 4 + byte] = static_cast<std::uint8_t>(crc >> (8 * byte));
        }
    }
    return frame;
}

// PPI with one 802.11-Common field that tells of no check sequence, then a QoS data frame.
Bytes ppiFrame() {
    Bytes frame{0, 0, 32, 0, 105, 0, 0, 0, 2, 0, 20, 0};
    frame.resize(32);
    frame.push_back(0x88);
    frame.resize(frameSize);
    return frame;
}

pcap_pkthdr headerOf(const Bytes& frame) {
    const auto length = static_cast<bpf_u_int32>(frame.size());
    return {.ts = {1700000000, 0}, .caplen = length, .len = length};
}

void crc32OfZlib(benchmark::State& state) {
    const Bytes frame(static_cast<std::size_t>(state.range(0)), 0x5a);
    for (auto _ : state) {
        benchmark::DoNotOptimize(::crc32(0, frame.data(), static_cast<uInt>(frame.size())));
    }
}
// The bytes under the check sequence of a 200-byte frame, and of a 300-byte frame.
BENCHMARK(crc32OfZlib)->Arg(187)->Arg(287);

void sliced(benchmark::State& state, const Bytes& frame, int dataLinkType) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(slicedLength(frame, dataLinkType));
    }
}
BENCHMARK_CAPTURE(sliced, qosDataWithFcs, radiotapFrame(0x88, true), dataLinkTypeRadiotap);
BENCHMARK_CAPTURE(sliced, qosDataWithoutFcs, radiotapFrame(0x88, false), dataLinkTypeRadiotap);
BENCHMARK_CAPTURE(sliced, beacon, radiotapFrame(0x80, true), dataLinkTypeRadiotap);
BENCHMARK_CAPTURE(sliced, acknowledgement, radiotapFrame(0xd4, true, 9 + 14), dataLinkTypeRadiotap);
BENCHMARK_CAPTURE(sliced, qosDataInPpi, ppiFrame(), dataLinkTypePpi);

class Folder {
public:
    explicit Folder(bool wanted) { settings.setBool(keys::EnableAdaptivePacketSlicing, wanted); }
    [[nodiscard]] QString filePath() const { return folder.filePath(QStringLiteral("bench.pcap")); }

    QTemporaryDir folder;
    SettingsStore settings{folder.filePath(QStringLiteral("settings.json"))};
    LiveFlag slicing{settings, keys::EnableAdaptivePacketSlicing};
};

class Writer final : public VantrelPacketOperationDelegate {
public:
    explicit Writer(QString path) : _path(std::move(path)) { restart(); }
    void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) override {
        _file->dumpWithHeader(header, data);
    }
    [[nodiscard]] bool isFull() const { return _file->frames() >= framesPerFile; }
    void restart() {
        if (_file) {
            _file->close();
            _file->remove();
        }
        _file = VantrelCaptureFile::initWithPath(_path, dataLinkTypeRadiotap);
    }

private:
    QString _path;
    std::unique_ptr<VantrelCaptureFile> _file;
};

void operationAndFile(benchmark::State& state, bool slicing) {
    Folder folder(slicing);
    Writer writer(folder.filePath());
    const Bytes frame = radiotapFrame(0x88, true);
    const pcap_pkthdr header = headerOf(frame);
    const auto operation = VantrelPacketOperation::initWithPcapHeader(header, frame.data(), dataLinkTypeRadiotap);
    for (auto _ : state) {
        operation->setFrame(header, frame.data(), dataLinkTypeRadiotap, &folder.slicing);
        operation->setDelegate(&writer);
        operation->main();
        if (writer.isFull()) {
            state.PauseTiming();
            writer.restart();
            state.ResumeTiming();
        }
    }
}
BENCHMARK_CAPTURE(operationAndFile, whole, false);
BENCHMARK_CAPTURE(operationAndFile, sliced, true);

// Both threads of the hand-over, so processor time of the whole process.
void queueHandOver(benchmark::State& state) {
    const Bytes frame = radiotapFrame(0x88, true);
    const pcap_pkthdr header = headerOf(frame);
    PacketQueue queue;
    for (auto _ : state) {
        std::unique_ptr<VantrelPacketOperation> operation(
            static_cast<VantrelPacketOperation*>(queue.spareOperation().release()));
        if (operation) {
            operation->setFrame(header, frame.data(), dataLinkTypeRadiotap, nullptr);
        } else {
            operation = VantrelPacketOperation::initWithPcapHeader(header, frame.data(), dataLinkTypeRadiotap);
        }
        queue.addOperation(std::move(operation));
    }
    queue.waitUntilAllOperationsAreFinished();
}
BENCHMARK(queueHandOver)->MeasureProcessCPUTime();

void liveFlag(benchmark::State& state) {
    Folder folder(true);
    for (auto _ : state) {
        benchmark::DoNotOptimize(folder.slicing.value());
    }
}
BENCHMARK(liveFlag);

} // namespace

BENCHMARK_MAIN();
