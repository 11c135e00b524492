// A service of this machine as it is announced to programs that look for one (DNS-SD, RFC 6763).
//
// Main thread. Nothing waits, and no failure is anything but logged: the port serves whoever knows it.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

namespace vantrel {

class NetService {
public:
    struct Description {
        QString domain; // "local"
        QString type;   // such as "_vantrel._tcp."
        QString name;   // empty for the machine's own
        std::uint16_t port = 0;
    };

    explicit NetService(Description description) : _description(std::move(description)) {}
    virtual ~NetService() = default;
    NetService(const NetService&) = delete;
    NetService& operator=(const NetService&) = delete;

    [[nodiscard]] const Description& description() const { return _description; }

    // Announces the service from now on.
    virtual void publish() = 0;
    // Withdraws it. Destroying a published service does the same.
    virtual void stop() = 0;

private:
    const Description _description;
};

using NetServiceMaker = std::function<std::unique_ptr<NetService>(const NetService::Description&)>;

// Announced by the machine's Avahi daemon, over the system bus, on the loopback interface alone: no network hears of
// it. A daemon that starts later or starts again announces it again; a name that is taken gets a number.
[[nodiscard]] std::unique_ptr<NetService> makeAvahiService(const NetService::Description& description);

} // namespace vantrel
