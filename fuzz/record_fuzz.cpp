// Any bytes as the records of frames. The first byte tells how they come: as a pcap stream, which libpcap reads and a
// packet operation hands on, each frame no longer than it came and unchanged; or as the end of a file whose last write
// has failed, of which only whole records are kept.
#include "FuzzInput.h"
#include "engine/LiveFlag.h"
#include "engine/VantrelPacketOperation.h"
#include "engine/WholeRecords.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <algorithm>
#include <cstdio>

namespace {

using namespace vantrel;
using Bytes = std::span<const std::uint8_t>;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// Data frames are sliced, as no file says otherwise.
LiveFlag& slicing() {
    static const auto settings = [] {
        auto store = std::make_unique<SettingsStore>(QStringLiteral("/nonexistent/settings.json"));
        store->registerDefaults({{QString(keys::EnableAdaptivePacketSlicing), true}});
        return store;
    }();
    static LiveFlag flag(*settings, keys::EnableAdaptivePacketSlicing);
    return flag;
}

class Receiver final : public VantrelPacketOperationDelegate {
public:
    Receiver(const pcap_pkthdr& header, const std::uint8_t* data) : _header(header), _data(data) {}
    void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) override {
        require(header.caplen <= std::min<bpf_u_int32>(_header.caplen, snapshotLength));
        require(header.len == _header.len);
        require(header.ts.tv_sec == _header.ts.tv_sec && header.ts.tv_usec == _header.ts.tv_usec);
        require(std::equal(data, data + header.caplen, _data));
        ++calls;
    }
    int calls = 0;

private:
    const pcap_pkthdr& _header;
    const std::uint8_t* _data;
};

void handOn(const pcap_pkthdr& header, const std::uint8_t* data, int dataLinkType) {
    // A copy of exactly that size, so that the address sanitizer sees every read beyond it.
    const FuzzInput frame(data, header.caplen);
    Receiver receiver(header, data);
    const auto operation =
        VantrelPacketOperation::initWithPcapHeader(header, frame.bytes().data(), dataLinkType, &slicing());
    operation->setDelegate(&receiver);
    operation->main();
    require(receiver.calls == 1);
}

void readStream(Bytes bytes) {
    std::unique_ptr<std::FILE, FileCloser> file(
        ::fmemopen(const_cast<std::uint8_t*>(bytes.data()), bytes.size(), "rb")); // only read
    char error[PCAP_ERRBUF_SIZE];
    pcap_t* const handle = file ? pcap_fopen_offline(file.get(), error) : nullptr;
    if (handle == nullptr) {
        return;
    }
    static_cast<void>(file.release()); // libpcap closes it
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    while (pcap_next_ex(handle, &header, &data) == 1) {
        handOn(*header, data, pcap_datalink(handle));
    }
    pcap_close(handle);
}

void readEndOfFile(Bytes bytes) {
    const ReadAt readAt = [bytes](std::uint64_t offset, std::span<std::uint8_t> wanted) {
        require(offset <= bytes.size());
        const Bytes rest = bytes.subspan(offset);
        if (rest.size() < wanted.size()) {
            return false;
        }
        std::copy_n(rest.begin(), wanted.size(), wanted.begin());
        return true;
    };
    const WholeRecords whole = wholeRecords(0, bytes.size(), readAt);
    require(whole.end <= bytes.size());
    require(whole.size == whole.end + whole.frames * (countedPerFrame - recordHeaderLength));
    const WholeRecords again = wholeRecords(0, whole.end, readAt);
    require(again.end == whole.end && again.frames == whole.frames);
    require(wholeRecords(whole.end, bytes.size(), readAt).frames == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return -1;
    }
    const FuzzInput input(data + 1, size - 1);
    if (data[0] % 2 == 0) {
        readStream(input.bytes());
    } else {
        readEndOfFile(input.bytes());
    }
    return 0;
}
