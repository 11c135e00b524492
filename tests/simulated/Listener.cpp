// Starts a simulated adapter as a program would and listens to one monitor: prints the transport and either the name
// of the device or "stream", then the number of frames heard; or, on standard error, why there is none.
#include "Capture.h"
#include "simulated/SimulatedRadio.h"

#include <cstdio>

int main() {
    using namespace vantrel;
    const auto transport = prepareSimulatedTransport();
    if (!transport) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(transport.error().text()));
        return 3;
    }
    SimulatedOptions options;
    options.transport = *transport;
    const auto client = makeSimulatedClient(options);
    const auto monitor = client->interface().beginMonitorMode();
    if (!monitor) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(monitor.error().text()));
        return 4;
    }
    const QString device = (*monitor)->deviceName();
    try {
        testing::Capture capture(**monitor);
        int heard = 0;
        while (heard < 50 && capture.next()) {
            ++heard;
        }
        std::printf("%d %s %d %d\n", static_cast<int>(*transport), device.isEmpty() ? "stream" : qUtf8Printable(device),
                    ::pcap_datalink(capture.handle()), heard);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 5;
    }
    return 0;
}
