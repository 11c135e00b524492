// Takes the frames of a capture file through the packet operation, slicing and the capture file, and times that alone.
//
//   process_frames [--slicing] [--queue] INPUT OUTPUT
//
// All of INPUT is in memory before the clock starts; OUTPUT must not exist and is closed when the clock stops. Each
// frame goes through one operation that is used again, or, with --queue, through the packet queue and its thread.
// Prints "frames N wall SECONDS cpu SECONDS".
#include "engine/LiveFlag.h"
#include "engine/PacketQueue.h"
#include "engine/VantrelCaptureFile.h"
#include "engine/VantrelPacketOperation.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>
#include <cstdio>
#include <ctime>
#include <pcap/pcap.h>
#include <string_view>
#include <vector>

namespace {

using namespace vantrel;

struct Frames {
    struct Place {
        pcap_pkthdr header;
        std::size_t offset;
    };
    std::vector<Place> places;
    std::vector<std::uint8_t> bytes;
    int dataLinkType = 0;
};

bool load(const char* path, Frames& frames) {
    std::vector<char> reason(PCAP_ERRBUF_SIZE, '\0');
    const PcapHandle file(pcap_open_offline(path, reason.data()));
    if (!file) {
        std::fprintf(stderr, "pcap_open_offline() failed: %s\n", reason.data());
        return false;
    }
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    while (pcap_next_ex(file.get(), &header, &data) == 1) {
        frames.places.push_back({*header, frames.bytes.size()});
        frames.bytes.insert(frames.bytes.end(), data, data + header->caplen);
    }
    frames.dataLinkType = pcap_datalink(file.get());
    return true;
}

class Writer final : public VantrelPacketOperationDelegate {
public:
    explicit Writer(VantrelCaptureFile& file) : _file(file) {}
    void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) override {
        _file.dumpWithHeader(header, data);
    }

private:
    VantrelCaptureFile& _file;
};

void processDirectly(const Frames& frames, LiveFlag& slicing, Writer& writer) {
    const auto operation = VantrelPacketOperation::initWithPcapHeader({}, frames.bytes.data(), frames.dataLinkType);
    for (const auto& [header, offset] : frames.places) {
        operation->setFrame(header, frames.bytes.data() + offset, frames.dataLinkType, &slicing);
        operation->setDelegate(&writer);
        operation->main();
    }
}

// As the capture thread does it.
void processThroughQueue(const Frames& frames, LiveFlag& slicing, Writer& writer) {
    PacketQueue queue;
    for (const auto& [header, offset] : frames.places) {
        const std::uint8_t* data = frames.bytes.data() + offset;
        std::unique_ptr<VantrelPacketOperation> operation(
            static_cast<VantrelPacketOperation*>(queue.spareOperation().release()));
        if (operation) {
            operation->setFrame(header, data, frames.dataLinkType, &slicing);
        } else {
            operation = VantrelPacketOperation::initWithPcapHeader(header, data, frames.dataLinkType, &slicing);
        }
        operation->setDelegate(&writer);
        queue.addOperation(std::move(operation));
    }
    queue.waitUntilAllOperationsAreFinished();
}

double now(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int process(const char* input, const char* output, bool wantSlicing, bool throughQueue) {
    const QTemporaryDir folder;
    SettingsStore settings(folder.filePath(QStringLiteral("settings.json")));
    settings.setBool(keys::EnableAdaptivePacketSlicing, wantSlicing);
    LiveFlag slicing(settings, keys::EnableAdaptivePacketSlicing);
    Frames frames;
    if (!load(input, frames)) {
        return 1;
    }
    const double wall = now(CLOCK_MONOTONIC);
    const double cpu = now(CLOCK_PROCESS_CPUTIME_ID);
    const auto file = VantrelCaptureFile::initWithPath(QString::fromLocal8Bit(output), frames.dataLinkType);
    if (!file) {
        return 1;
    }
    Writer writer(*file);
    (throughQueue ? processThroughQueue : processDirectly)(frames, slicing, writer);
    file->close();
    std::printf("frames %llu wall %.6f cpu %.6f\n", static_cast<unsigned long long>(file->frames()),
                now(CLOCK_MONOTONIC) - wall, now(CLOCK_PROCESS_CPUTIME_ID) - cpu);
    return file->writeError() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    bool slicing = false;
    bool queue = false;
    std::vector<const char*> paths;
    for (int index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        if (argument == "--slicing") {
            slicing = true;
        } else if (argument == "--queue") {
            queue = true;
        } else {
            paths.push_back(argv[index]);
        }
    }
    if (paths.size() != 2) {
        std::fputs("usage: process_frames [--slicing] [--queue] INPUT OUTPUT\n", stderr);
        return 2;
    }
    return process(paths[0], paths[1], slicing, queue);
}
