#include "protocol/Messages.h"

#include <QByteArray>
#include <QStringConverter>
#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>

namespace vantrel::protocol {

namespace {

constexpr std::size_t headerSize = 6;   // version, type, request number
constexpr std::size_t channelSize = 4;  // number, band, width
constexpr qsizetype longestText = 4096; // bytes; three of them, the most a message has, fit a packet
constexpr std::size_t longestList = (longestPacket - headerSize - 2) / channelSize;

static_assert(headerSize + 3 * (2 + longestText) + 1 + 1 + channelSize + 1 <= longestPacket);

class Writer {
public:
    void u8(std::uint32_t value) { _bytes.push_back(static_cast<std::uint8_t>(value)); }
    void u16(std::uint32_t value) {
        u8(value & 0xff);
        u8(value >> 8);
    }
    void u32(std::uint32_t value) {
        u16(value & 0xffff);
        u16(value >> 16);
    }
    void truth(bool value) { u8(value ? 1 : 0); }

    void text(const QString& value) {
        QByteArray utf8 = value.toUtf8();
        if (utf8.size() > longestText) {
            qsizetype end = longestText;
            while (end > 0 && (static_cast<unsigned char>(utf8[end]) & 0xc0) == 0x80) { // within a character
                --end;
            }
            utf8.truncate(end);
        }
        u16(static_cast<std::uint32_t>(utf8.size()));
        _bytes.insert(_bytes.end(), utf8.cbegin(), utf8.cend());
    }

    void channel(const CWChannel& value) {
        u16(static_cast<std::uint32_t>(std::clamp(value.channelNumber, 0, 0xffff)));
        u8(static_cast<std::uint32_t>(std::clamp(value.channelBand, 0, 0xff)));
        u8(static_cast<std::uint32_t>(std::clamp(value.channelWidth, 0, 0xff)));
    }

    [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(_bytes); }

private:
    std::vector<std::uint8_t> _bytes;
};

// Reads field after field. The first one that is wrong is kept as the error; what is read after it is void.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : _rest(bytes) {}

    std::uint32_t number(std::size_t size, const char* field) {
        if (_rest.size() < size) {
            refuse(field, QStringLiteral("runs over the end"));
        }
        if (_why) {
            return 0;
        }
        std::uint32_t value = 0;
        for (std::size_t i = size; i-- > 0;) {
            value = value << 8 | _rest[i];
        }
        _rest = _rest.subspan(size);
        return value;
    }

    bool truth(const char* field) {
        const auto value = number(1, field);
        if (value > 1) {
            refuse(field, QStringLiteral("is %1, neither 0 nor 1").arg(value));
        }
        return value == 1;
    }

    QString text(const char* field) {
        const std::size_t size = number(2, field);
        if (size > _rest.size()) {
            refuse(field, QStringLiteral("runs over the end"));
        } else if (size > longestText) {
            refuse(field, QStringLiteral("is too long"));
        }
        if (_why) {
            return {};
        }
        const QByteArray utf8(reinterpret_cast<const char*>(_rest.data()), static_cast<qsizetype>(size));
        _rest = _rest.subspan(size);
        QStringDecoder decoder(QStringConverter::Utf8,
                               QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
        QString value = decoder(utf8);
        if (decoder.hasError() || value.toUtf8() != utf8) {
            refuse(field, QStringLiteral("is not UTF-8"));
        }
        return value;
    }

    CWChannel channel() {
        CWChannel value;
        value.channelNumber = static_cast<int>(number(2, "the channel's number"));
        value.channelBand = static_cast<int>(number(1, "the channel's band"));
        value.channelWidth = static_cast<int>(number(1, "the channel's width"));
        if (!isInRange(value)) {
            refuse("the channel",
                   QStringLiteral("has band %1 and width %2").arg(value.channelBand).arg(value.channelWidth));
        }
        return value;
    }

    void refuse(const char* field, const QString& why) {
        if (!_why) {
            _why = QLatin1StringView(field) + QLatin1Char(' ') + why;
        }
    }

    [[nodiscard]] bool fine() const { return !_why; }
    [[nodiscard]] std::size_t left() const { return _rest.size(); }
    [[nodiscard]] tl::unexpected<Error> error() const {
        return failure(QStringLiteral("decode"), _why.value_or(QString()));
    }

private:
    std::span<const std::uint8_t> _rest;
    std::optional<QString> _why;
};

// The fields of each message, in the order of its struct: how they are written and how they are read.

void write(Writer& out, const SetChannel& message) { out.channel(message.channel); }
void write(Writer& out, const SetPower& message) { out.truth(message.on); }
void write(Writer& /*out*/, const Disassociate& /*message*/) {}
void write(Writer& out, const BeginMonitor& message) { out.truth(message.probe); }
void write(Writer& /*out*/, const EndMonitor& /*message*/) {}

void write(Writer& out, const Done& message) {
    out.text(message.what);
    out.text(message.why);
    out.text(message.result);
}

void write(Writer& out, const State& message) {
    out.text(message.interfaceName);
    out.u8(static_cast<std::uint32_t>(message.mode));
    out.text(message.ssid);
    out.text(message.bssid);
    out.truth(message.channel.has_value());
    if (message.channel) {
        out.channel(*message.channel);
    }
    out.truth(message.powerOn);
}

void write(Writer& out, const Channels& message) {
    const std::size_t count = std::min(message.supported.size(), longestList);
    out.u16(static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        out.channel(message.supported[i]);
    }
}

void read(Reader& in, SetChannel& message) { message.channel = in.channel(); }
void read(Reader& in, SetPower& message) { message.on = in.truth("the power"); }
void read(Reader& /*in*/, Disassociate& /*message*/) {}
void read(Reader& in, BeginMonitor& message) { message.probe = in.truth("whether it is a probe"); }
void read(Reader& /*in*/, EndMonitor& /*message*/) {}

void read(Reader& in, Done& message) {
    message.what = in.text("the name of the failed call");
    message.why = in.text("the error text");
    message.result = in.text("the result");
}

void read(Reader& in, CWInterfaceMode& mode) {
    const auto value = in.number(1, "the mode");
    for (const auto known : {CWInterfaceMode::None, CWInterfaceMode::Station, CWInterfaceMode::Monitor}) {
        if (value == static_cast<std::uint32_t>(known)) {
            mode = known;
            return;
        }
    }
    in.refuse("the mode", QStringLiteral("is %1, which is none").arg(value));
}

void read(Reader& in, State& message) {
    message.interfaceName = in.text("the interface's name");
    read(in, message.mode);
    message.ssid = in.text("the network's name");
    message.bssid = in.text("the BSSID");
    if (in.truth("whether there is a channel")) {
        message.channel = in.channel();
    }
    message.powerOn = in.truth("the power");
}

void read(Reader& in, Channels& message) {
    const std::size_t count = in.number(2, "the list of channels");
    if (count * channelSize > in.left()) {
        in.refuse("the list of channels", QStringLiteral("runs over the end"));
    }
    for (std::size_t i = 0; i < count && in.fine(); ++i) {
        message.supported.push_back(in.channel());
    }
}

// Reads the message that has this place in the list of messages.
template <std::size_t place = 0>
Message readMessage(Reader& in, std::size_t type) {
    if constexpr (place + 1 < std::variant_size_v<Message>) {
        if (type != place) {
            return readMessage<place + 1>(in, type);
        }
    }
    std::variant_alternative_t<place, Message> message;
    read(in, message);
    return message;
}

} // namespace

bool isInRange(const CWChannel& channel) {
    return channel.channelNumber >= 0 && channel.channelNumber <= std::numeric_limits<std::uint16_t>::max() &&
           (channel.channelBand == bandTwoDotFourGHz || channel.channelBand == bandFiveGHz) &&
           channel.channelWidth >= 0 && channel.channelWidth <= width160MHz;
}

std::vector<std::uint8_t> encode(const Packet& packet) {
    Writer out;
    out.u8(version);
    out.u8(static_cast<std::uint32_t>(packet.message.index()));
    out.u32(packet.request);
    std::visit([&out](const auto& message) { write(out, message); }, packet.message);
    return out.take();
}

Expected<Packet> decode(std::span<const std::uint8_t> bytes) {
    Reader in(bytes);
    if (bytes.size() > longestPacket) {
        in.refuse("the packet", QStringLiteral("is too long"));
    }
    if (const auto found = in.number(1, "the version"); in.fine() && found != version) {
        in.refuse("the version", QStringLiteral("is %1, not %2").arg(found).arg(version));
    }
    const auto type = in.number(1, "the type");
    if (type >= std::variant_size_v<Message>) {
        in.refuse("the type", QStringLiteral("is %1, which is unknown").arg(type));
    }
    const auto request = in.number(4, "the request number");
    if (!in.fine()) {
        return in.error();
    }
    Packet packet{request, readMessage(in, type)};
    if (in.left() > 0) {
        in.refuse("the last field", QStringLiteral("is followed by %1 bytes").arg(in.left()));
    }
    if (!in.fine()) {
        return in.error();
    }
    return packet;
}

} // namespace vantrel::protocol
