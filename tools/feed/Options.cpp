#include "feed/Options.h"

#include <QCommandLineParser>

namespace vantrel::feed {

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView help = R"(usage: vantrel-feed [options]

Shows the Wi-Fi networks that Vantrel's capture service on this computer hears.

  --port N      connect to this port; without it the service is found over DNS-SD
  --name NAME   of several services, the one of this name; without it the first
  --sort KEY    order of the table: signal, bssid, ssid, channel, width, noise,
                security or seen
  --json        one JSON object a record and line, instead of the table
  --pcap        a pcap stream on standard output: vantrel-feed --pcap | tshark -r -
  --once        stop after one sweep of all channels
  --count N     stop after N sweeps
  --help        print this, and nothing else
  --version     print the version, and nothing else

Exit status: 0 ended as asked, 1 the connection or the output failed, 2 wrong
use, 3 no service found, 4 the service does not serve us.
)"_L1;

constexpr QLatin1StringView version = "vantrel-feed " VANTREL_VERSION "\n"_L1;

tl::unexpected<QString> wrong(const QString& sentence) { return tl::unexpected(sentence); }

tl::expected<std::uint64_t, QString> readNumber(const QCommandLineParser& parser, const QString& option,
                                                std::uint64_t most) {
    bool isNumber = false;
    const QString text = parser.value(option);
    const std::uint64_t number = text.toULongLong(&isNumber);
    if (!isNumber || number < 1 || number > most) {
        return wrong(QStringLiteral("--%1 takes a number from 1 to %2, not \"%3\"").arg(option).arg(most).arg(text));
    }
    return number;
}

void addOptions(QCommandLineParser& parser) {
    for (const QLatin1StringView flag : {"json"_L1, "pcap"_L1, "once"_L1, "help"_L1, "version"_L1}) {
        parser.addOption(QCommandLineOption(flag));
    }
    for (const QLatin1StringView withValue : {"port"_L1, "name"_L1, "sort"_L1, "count"_L1}) {
        parser.addOption(QCommandLineOption(withValue, {}, withValue));
    }
}

// What cannot be asked for together.
std::optional<QString> conflict(const QCommandLineParser& parser) {
    struct Pair {
        QLatin1StringView first, second;
    };
    for (const Pair pair : {Pair{"json"_L1, "pcap"_L1}, Pair{"once"_L1, "count"_L1}, Pair{"port"_L1, "name"_L1},
                            Pair{"sort"_L1, "json"_L1}, Pair{"sort"_L1, "pcap"_L1}}) {
        if (parser.isSet(pair.first) && parser.isSet(pair.second)) {
            return QStringLiteral("--%1 and --%2 exclude each other").arg(pair.first, pair.second);
        }
    }
    return std::nullopt;
}

tl::expected<Options, QString> readValues(const QCommandLineParser& parser) {
    Options options;
    options.format = parser.isSet("json"_L1)   ? OutputFormat::Json
                     : parser.isSet("pcap"_L1) ? OutputFormat::Pcap
                                               : OutputFormat::Table;
    if (parser.isSet("sort"_L1)) {
        const auto key = sortKeyNamed(parser.value("sort"_L1));
        if (!key) {
            return wrong(QStringLiteral("--sort takes one of %1, not \"%2\"")
                             .arg(sortKeyNames().join(", "_L1), parser.value("sort"_L1)));
        }
        options.sort = *key;
    }
    if (parser.isSet("port"_L1)) {
        const auto port = readNumber(parser, "port"_L1, 65535);
        if (!port) {
            return wrong(port.error());
        }
        options.port = static_cast<std::uint16_t>(*port);
    }
    if (parser.isSet("name"_L1)) {
        options.name = parser.value("name"_L1);
        if (options.name.isEmpty()) {
            return wrong(QStringLiteral("--name takes the name of a service"));
        }
    }
    options.sweeps = parser.isSet("once"_L1) ? 1 : 0;
    if (parser.isSet("count"_L1)) {
        const auto count = readNumber(parser, "count"_L1, 1000000000);
        if (!count) {
            return wrong(count.error());
        }
        options.sweeps = *count;
    }
    return options;
}

} // namespace

tl::expected<Options, QString> readOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(QStringList{QStringLiteral("vantrel-feed")} + arguments)) {
        return wrong(parser.errorText());
    }
    if (!parser.positionalArguments().isEmpty()) {
        return wrong(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst()));
    }
    if (parser.isSet("help"_L1) || parser.isSet("version"_L1)) {
        Options options;
        options.print = parser.isSet("help"_L1) ? QString(help) : QString(version);
        return options;
    }
    if (const auto clash = conflict(parser)) {
        return wrong(*clash);
    }
    return readValues(parser);
}

} // namespace vantrel::feed
