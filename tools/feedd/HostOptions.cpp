#include "HostOptions.h"

#include <QCommandLineParser>

namespace vantrel::feedd {

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView help = R"(usage: vantrel-feedd [options]

Offers what the Wi-Fi adapter hears to programs of this computer, such as
vantrel-feed: of every network the strongest beacon, after every sweep of all
channels. Prints "port N" once it listens on port N of 127.0.0.1, and serves
until it is ended by SIGINT or SIGTERM; the adapter is then put back first.

  --simulated   a radio made of software in place of the adapter, as with
                VANTREL_RADIO=simulated in the environment
  --help        print this, and nothing else
  --version     print the version, and nothing else

Exit status: 0 ended by a signal, 1 there is no port to listen on, 2 wrong use,
3 no adapter that can be used, 4 no permission to capture.
)"_L1;

constexpr QLatin1StringView version = "vantrel-feedd " VANTREL_VERSION "\n"_L1;

} // namespace

tl::expected<HostOptions, QString> readOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    for (const QLatin1StringView flag : {"simulated"_L1, "help"_L1, "version"_L1}) {
        parser.addOption(QCommandLineOption(flag));
    }
    if (!parser.parse(QStringList{QStringLiteral("vantrel-feedd")} + arguments)) {
        return tl::unexpected(parser.errorText());
    }
    if (!parser.positionalArguments().isEmpty()) {
        return tl::unexpected(
            QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst()));
    }
    HostOptions options;
    options.simulated = parser.isSet("simulated"_L1);
    if (parser.isSet("help"_L1) || parser.isSet("version"_L1)) {
        options.print = parser.isSet("help"_L1) ? QString(help) : QString(version);
    }
    return options;
}

} // namespace vantrel::feedd
