#include "feed/Options.h"

#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

tl::expected<Options, QString> read(const char* arguments) {
    return readOptions(QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
}
std::string errorOf(const char* arguments) {
    const auto options = read(arguments);
    return options ? "none" : options.error().toStdString();
}

TEST(Options, nothingAskedForIsTheTableOfTheFirstService) {
    const auto options = read("");
    ASSERT_TRUE(options);
    EXPECT_EQ(options->format, OutputFormat::Table);
    EXPECT_EQ(options->sort, SortKey::Signal);
    EXPECT_EQ(options->port, 0);
    EXPECT_TRUE(options->name.isEmpty());
    EXPECT_EQ(options->sweeps, 0U);
    EXPECT_FALSE(options->print);
}

TEST(Options, eachIsTaken) {
    EXPECT_EQ(read("--port 65535")->port, 65535);
    EXPECT_EQ(read("--port=1")->port, 1);
    EXPECT_EQ(read("--name lab")->name, QStringLiteral("lab"));
    EXPECT_EQ(read("--sort seen")->sort, SortKey::Seen);
    EXPECT_EQ(read("--json")->format, OutputFormat::Json);
    EXPECT_EQ(read("--pcap")->format, OutputFormat::Pcap);
    EXPECT_EQ(read("--once")->sweeps, 1U);
    EXPECT_EQ(read("--count 12")->sweeps, 12U);
    EXPECT_EQ(read("--version --json")->print, QStringLiteral("vantrel-feed " VANTREL_VERSION "\n"));
    EXPECT_TRUE(read("--help")->print->startsWith(QStringLiteral("usage: vantrel-feed ")));
}

TEST(Options, wrongUseIsSaid) {
    EXPECT_EQ(errorOf("--bogus"), "Unknown option 'bogus'.");
    EXPECT_EQ(errorOf("-x"), "Unknown option 'x'.");
    EXPECT_EQ(errorOf("lab"), "unexpected argument \"lab\"");
    EXPECT_EQ(errorOf("--count"), "Missing value after '--count'.");
    for (const char* number : {"0", "65536", "-1", "x", "1.5", "1x"}) {
        EXPECT_EQ(errorOf((std::string("--port=") + number).c_str()),
                  std::string("--port takes a number from 1 to 65535, not \"") + number + "\"");
    }
    EXPECT_EQ(errorOf("--count=0"), "--count takes a number from 1 to 1000000000, not \"0\"");
    EXPECT_EQ(errorOf("--sort size"),
              "--sort takes one of signal, bssid, ssid, channel, width, noise, security, seen, not \"size\"");
    EXPECT_EQ(errorOf("--name="), "--name takes the name of a service");
}

TEST(Options, whatContradictsIsSaid) {
    EXPECT_EQ(errorOf("--json --pcap"), "--json and --pcap exclude each other");
    EXPECT_EQ(errorOf("--once --count 2"), "--once and --count exclude each other");
    EXPECT_EQ(errorOf("--port 1 --name a"), "--port and --name exclude each other");
    EXPECT_EQ(errorOf("--sort ssid --json"), "--sort and --json exclude each other");
    EXPECT_EQ(errorOf("--sort ssid --pcap"), "--sort and --pcap exclude each other");
}

} // namespace
} // namespace vantrel::feed
