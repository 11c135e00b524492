#include "netlink/Nl80211.h"

#include "Exchange.h"
#include "netlink/Nl80211Parsing.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <net/if.h>
#include <netlink/errno.h>
#include <netlink/genl/ctrl.h>
#include <netlink/socket.h>

namespace vantrel::netlink {

namespace {

constexpr int dumpFlags = NLM_F_DUMP;
constexpr int dumpAttempts = 5; // each is spoilt when a list changes while it is read

struct CommandAnswer {
    std::uint8_t command;
    Bytes attributes;
};

std::optional<CommandAnswer> answerOf(Bytes payload) {
    if (payload.size() < GENL_HDRLEN) {
        return std::nullopt;
    }
    return CommandAnswer{payload[0], payload.subspan(GENL_HDRLEN)}; // struct genlmsghdr begins with the command
}

// Reads a whole list; `clear` makes the reader forget a spoilt one.
template <typename Clear, typename Add>
Expected<void> dump(nl_sock& socket, Request request, Clear clear, Add add) {
    for (int attempt = 1;; ++attempt) {
        clear();
        const auto done = request.exchange(socket, [&add](int, Bytes payload) {
            if (const auto answer = answerOf(payload)) {
                add(answer->attributes);
            }
        });
        if (done) {
            return {};
        }
        if (done.error().number != EAGAIN || attempt == dumpAttempts) {
            return tl::unexpected<Error>(done.error().error);
        }
    }
}

Expected<void> withoutNumber(const tl::expected<void, Failure>& done) {
    return done ? Expected<void>() : tl::unexpected<Error>(done.error().error);
}

// The kernel's answers for a wireless device that does not exist, or exists no more.
bool isGone(const Failure& failure) { return failure.number == ENODEV || failure.number == ENOENT; }

// The messages after which an interface, its network, its channel, or what a radio may do can be another.
bool isChange(int command) {
    static constexpr std::array changes = {
        NL80211_CMD_NEW_WIPHY,     NL80211_CMD_DEL_WIPHY,        NL80211_CMD_NEW_INTERFACE,
        NL80211_CMD_SET_INTERFACE, NL80211_CMD_DEL_INTERFACE,    NL80211_CMD_CONNECT,
        NL80211_CMD_ROAM,          NL80211_CMD_DISCONNECT,       NL80211_CMD_CH_SWITCH_NOTIFY,
        NL80211_CMD_REG_CHANGE,    NL80211_CMD_WIPHY_REG_CHANGE, NL80211_CMD_REG_BEACON_HINT};
    return std::find(changes.begin(), changes.end(), command) != changes.end();
}

Expected<int> family(nl_sock& socket) {
    const int found = ::genl_ctrl_resolve(&socket, NL80211_GENL_NAME);
    if (found == -NLE_OBJ_NOTFOUND) {
        return failure(QStringLiteral("nl80211"), QStringLiteral("the kernel has no Wi-Fi support"));
    }
    if (found < 0) {
        return failure(QStringLiteral("genl_ctrl_resolve"), QString::fromLocal8Bit(::nl_geterror(found)));
    }
    return found;
}

} // namespace

QString toText(const MacAddress& address) {
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(address.data()), static_cast<qsizetype>(address.size())).toHex(':'));
}

Expected<std::unique_ptr<Nl80211>> Nl80211::open() {
    auto socket = openSocket(NETLINK_GENERIC);
    if (!socket) {
        return tl::unexpected<Error>(socket.error());
    }
    const auto number = family(**socket);
    if (!number) {
        return tl::unexpected<Error>(number.error());
    }
    return std::unique_ptr<Nl80211>(new Nl80211(std::move(*socket), *number));
}

Nl80211::Nl80211(Socket socket, int family) : _socket(std::move(socket)), _family(family) {}

Nl80211::~Nl80211() = default;

Expected<std::vector<WirelessInterface>> Nl80211::interfaces() {
    std::vector<WirelessInterface> found;
    auto request =
        Request::generic(_family, NL80211_CMD_GET_INTERFACE, QStringLiteral("NL80211_CMD_GET_INTERFACE"), dumpFlags);
    const auto done = dump(
        *_socket, std::move(request), [&found] { found.clear(); },
        [&found](Bytes attributes) {
            if (auto interface = parseInterface(attributes)) {
                found.push_back(std::move(*interface));
            }
        });
    if (!done) {
        return tl::unexpected<Error>(done.error());
    }
    std::sort(found.begin(), found.end(), [](const auto& one, const auto& other) { return one.index < other.index; });
    return found;
}

Expected<std::vector<CWChannel>> Nl80211::supportedChannels(std::uint32_t wiphy) {
    WiphyChannels channels;
    bool exists = false;
    const auto name = QStringLiteral("NL80211_CMD_GET_WIPHY");
    auto request = Request::generic(_family, NL80211_CMD_GET_WIPHY, name, dumpFlags);
    // Unsplit, the flags that forbid widths are left out of the answer.
    request.add(NL80211_ATTR_WIPHY, wiphy).addFlag(NL80211_ATTR_SPLIT_WIPHY_DUMP);
    const auto done = dump(
        *_socket, std::move(request), [&channels] { channels = {}; },
        [&](Bytes attributes) {
            exists = true;
            channels.add(attributes);
        });
    if (!done) {
        return tl::unexpected<Error>(done.error());
    }
    if (!exists) { // the kernel's answer is an empty list
        return failure(name, QString::fromLocal8Bit(std::strerror(ENODEV)));
    }
    return channels.supported();
}

Expected<std::optional<Association>> Nl80211::association(int interfaceIndex) {
    std::optional<Association> found;
    auto request = Request::generic(_family, NL80211_CMD_GET_SCAN, QStringLiteral("NL80211_CMD_GET_SCAN"), dumpFlags);
    request.add(NL80211_ATTR_IFINDEX, static_cast<std::uint32_t>(interfaceIndex));
    const auto done = dump(
        *_socket, std::move(request), [&found] { found.reset(); },
        [&found](Bytes attributes) {
            if (!found) {
                found = parseAssociation(attributes);
            }
        });
    if (!done) {
        return tl::unexpected<Error>(done.error());
    }
    return found;
}

Expected<int> Nl80211::addMonitor(std::uint32_t wiphy, const QString& name) {
    const auto what = QStringLiteral("NL80211_CMD_NEW_INTERFACE");
    const auto text = name.toUtf8();
    if (text.isEmpty() || text.size() >= IFNAMSIZ) {
        return failure(what, QStringLiteral("an interface name has 1 to 15 characters"));
    }
    std::optional<WirelessInterface> made;
    auto request = Request::generic(_family, NL80211_CMD_NEW_INTERFACE, what);
    request.add(NL80211_ATTR_WIPHY, wiphy)
        .add(NL80211_ATTR_IFNAME, text)
        .add(NL80211_ATTR_IFTYPE, NL80211_IFTYPE_MONITOR)
        .addFlag(NL80211_ATTR_IFACE_SOCKET_OWNER);
    const auto done = request.exchange(*_socket, [&made](int, Bytes payload) {
        if (const auto answer = answerOf(payload); answer && answer->command == NL80211_CMD_NEW_INTERFACE) {
            made = parseInterface(answer->attributes);
        }
    });
    if (!done && done.error().number == ENFILE) { // the kernel's number for it, whose text says another thing
        return failure(what, QStringLiteral("an interface of that name exists already"));
    }
    if (!done) {
        return tl::unexpected<Error>(done.error().error);
    }
    if (!made) {
        return failure(what, QStringLiteral("the kernel did not say which interface it made"));
    }
    return made->index;
}

Expected<void> Nl80211::removeInterface(int interfaceIndex) {
    return withoutNumber(
        Request::generic(_family, NL80211_CMD_DEL_INTERFACE, QStringLiteral("NL80211_CMD_DEL_INTERFACE"))
            .add(NL80211_ATTR_IFINDEX, static_cast<std::uint32_t>(interfaceIndex))
            .exchange(*_socket));
}

Expected<std::vector<std::uint64_t>> Nl80211::p2pDevices(std::uint32_t wiphy) {
    std::vector<std::uint64_t> found;
    auto request =
        Request::generic(_family, NL80211_CMD_GET_INTERFACE, QStringLiteral("NL80211_CMD_GET_INTERFACE"), dumpFlags);
    const auto done = dump(
        *_socket, std::move(request), [&found] { found.clear(); },
        [&found, wiphy](Bytes attributes) {
            if (const auto device = parseP2pDevice(attributes); device && device->wiphy == wiphy) {
                found.push_back(device->number);
            }
        });
    if (!done) {
        return tl::unexpected<Error>(done.error());
    }
    return found;
}

Expected<bool> Nl80211::stopP2pDevice(std::uint64_t device) {
    const auto done =
        Request::generic(_family, NL80211_CMD_STOP_P2P_DEVICE, QStringLiteral("NL80211_CMD_STOP_P2P_DEVICE"))
            .addWide(NL80211_ATTR_WDEV, device)
            .exchange(*_socket);
    if (!done && (done.error().number == ENETDOWN || isGone(done.error()))) {
        return false;
    }
    return withoutNumber(done).map([] { return true; });
}

Expected<void> Nl80211::startP2pDevice(std::uint64_t device) {
    const auto done =
        Request::generic(_family, NL80211_CMD_START_P2P_DEVICE, QStringLiteral("NL80211_CMD_START_P2P_DEVICE"))
            .addWide(NL80211_ATTR_WDEV, device)
            .exchange(*_socket);
    return !done && isGone(done.error()) ? Expected<void>() : withoutNumber(done);
}

Expected<void> Nl80211::setChannel(int monitorIndex, const CWChannel& channel) {
    const auto what = QStringLiteral("NL80211_CMD_SET_CHANNEL");
    const auto control = centreFrequency(channel.channelNumber, channel.channelBand);
    const auto centre = blockCentreFrequency(channel);
    if (!control || !centre) {
        return failure(what, QStringLiteral("there is no such channel"));
    }
    const auto tune = [&](nl80211_chan_width width) {
        return Request::generic(_family, NL80211_CMD_SET_CHANNEL, what)
            .add(NL80211_ATTR_IFINDEX, static_cast<std::uint32_t>(monitorIndex))
            .add(NL80211_ATTR_WIPHY_FREQ, static_cast<std::uint32_t>(*control))
            .add(NL80211_ATTR_CHANNEL_WIDTH, width)
            .add(NL80211_ATTR_CENTER_FREQ1, static_cast<std::uint32_t>(*centre))
            .exchange(*_socket);
    };
    switch (channel.channelWidth) {
    case width20MHz: {
        const auto tuned = tune(NL80211_CHAN_WIDTH_20);
        // A radio without HT knows 20 MHz by another number only.
        return withoutNumber(!tuned && tuned.error().number == EINVAL ? tune(NL80211_CHAN_WIDTH_20_NOHT) : tuned);
    }
    case width40MHz:
        return withoutNumber(tune(NL80211_CHAN_WIDTH_40));
    case width80MHz:
        return withoutNumber(tune(NL80211_CHAN_WIDTH_80));
    default: // 160 MHz: others have no centre
        return withoutNumber(tune(NL80211_CHAN_WIDTH_160));
    }
}

Expected<std::unique_ptr<Nl80211Events>> Nl80211Events::open() {
    auto asking = openSocket(NETLINK_GENERIC); // the other does not wait for answers
    if (!asking) {
        return tl::unexpected<Error>(asking.error());
    }
    if (const auto known = family(**asking); !known) {
        return tl::unexpected<Error>(known.error());
    }
    auto socket = openEventSocket(NETLINK_GENERIC);
    if (!socket) {
        return tl::unexpected<Error>(socket.error());
    }
    for (const char* name :
         {NL80211_MULTICAST_GROUP_MLME, NL80211_MULTICAST_GROUP_CONFIG, NL80211_MULTICAST_GROUP_REG}) {
        const int group = ::genl_ctrl_resolve_grp(asking->get(), NL80211_GENL_NAME, name);
        if (group < 0) {
            return failure(QStringLiteral("genl_ctrl_resolve_grp"), QString::fromLocal8Bit(::nl_geterror(group)));
        }
        if (const int result = ::nl_socket_add_membership(socket->get(), group); result < 0) {
            return failure(QStringLiteral("nl_socket_add_membership"), QString::fromLocal8Bit(::nl_geterror(result)));
        }
    }
    return std::unique_ptr<Nl80211Events>(new Nl80211Events(std::move(*socket)));
}

Nl80211Events::Nl80211Events(Socket socket) : _socket(std::move(socket)) {}

Nl80211Events::~Nl80211Events() = default;

int Nl80211Events::descriptor() const { return ::nl_socket_get_fd(_socket.get()); }

bool Nl80211Events::drain() {
    return netlink::drain(*_socket, [](int, Bytes payload) {
        const auto answer = answerOf(payload);
        return answer && isChange(answer->command);
    });
}

} // namespace vantrel::netlink
