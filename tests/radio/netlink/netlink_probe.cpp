// Asks and changes the machine's radios from the command line, for tests that have radios.
//
//   netlink_probe show                             what every getter answers, a line each
//   netlink_probe monitor WIPHY [NAME]             makes a monitor interface (vantrel9) and prints "monitor INDEX"; it
//                                                  lives until standard input ends
//   netlink_probe remove INDEX                     removes an interface
//   netlink_probe tune INDEX NUMBER BAND WIDTH     tunes a monitor; band 1 or 2, width 1 to 4
//   netlink_probe up INDEX, down INDEX             the link
//   netlink_probe block WIPHY, unblock WIPHY       the radio's switch
//   netlink_probe watch                            prints "watching", then "change nl80211", "change link" or
//                                                  "change rfkill" for each that happens, until standard input ends
//
// Exit status 0, or 1 with "error: WHAT: WHY" on standard output, or 2 for wrong use.
#include "netlink/Links.h"
#include "netlink/Nl80211.h"
#include "netlink/RadioKill.h"

#include <array>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace vantrel;
using namespace vantrel::netlink;

int fail(const Error& error) {
    std::cout << "error: " << error.text().toStdString() << std::endl;
    return 1;
}

template <typename Done>
int end(const Done& done) {
    if (!done) {
        return fail(done.error());
    }
    std::cout << "done" << std::endl;
    return 0;
}

std::string text(const CWChannel& channel) {
    return std::to_string(channel.channelNumber) + '/' + std::to_string(channel.channelBand) + '/' +
           std::to_string(channel.channelWidth);
}

std::string text(const Expected<std::optional<Association>>& association) {
    if (!association) {
        return "error: " + association.error().text().toStdString();
    }
    return *association ? toText((*association)->bssid).toStdString() + " \"" + (*association)->ssid.toStdString() + '"'
                        : std::string("none");
}

const char* text(InterfaceKind kind) {
    switch (kind) {
    case InterfaceKind::Station:
        return "station";
    case InterfaceKind::Monitor:
        return "monitor";
    case InterfaceKind::Other:
        return "other";
    }
    return "";
}

void showWiphy(Nl80211& wireless, std::uint32_t wiphy) {
    const auto state = blockState(wiphy);
    std::cout << "rfkill " << wiphy << ' ';
    if (state) {
        std::cout << "switch " << state->index << " soft " << state->soft << " hard " << state->hard << '\n';
    } else {
        std::cout << "none\n";
    }
    const auto channels = wireless.supportedChannels(wiphy);
    std::cout << "channels " << wiphy;
    if (!channels) {
        std::cout << " error: " << channels.error().text().toStdString() << '\n';
        return;
    }
    for (const auto& channel : *channels) {
        std::cout << ' ' << text(channel);
    }
    std::cout << '\n';
}

int show(Nl80211& wireless, Links& links) {
    const auto interfaces = wireless.interfaces();
    if (!interfaces) {
        return fail(interfaces.error());
    }
    std::set<std::uint32_t> wiphys;
    for (const auto& interface : *interfaces) {
        wiphys.insert(interface.wiphy);
        const auto up = links.isUp(interface.index);
        std::cout << "interface " << interface.index << ' ' << interface.name.toStdString() << " wiphy "
                  << interface.wiphy << ' ' << text(interface.kind) << ' ' << toText(interface.address).toStdString()
                  << " channel " << (interface.channel ? text(*interface.channel) : std::string("none")) << " link "
                  << (!up ? up.error().text().toStdString() : std::string(*up ? "up" : "down")) << '\n';
        std::cout << "association " << interface.index << ' ' << text(wireless.association(interface.index)) << '\n';
    }
    for (const auto wiphy : wiphys) {
        showWiphy(wireless, wiphy);
    }
    return 0;
}

void waitForEndOfInput() {
    std::array<char, 256> ignored{};
    while (::read(STDIN_FILENO, ignored.data(), ignored.size()) > 0) {
    }
}

int monitor(Nl80211& wireless, std::uint32_t wiphy, const QString& name) {
    const auto index = wireless.addMonitor(wiphy, name);
    if (!index) {
        return fail(index.error());
    }
    std::cout << "monitor " << *index << std::endl;
    waitForEndOfInput();
    return 0;
}

int watch() {
    const auto radios = Nl80211Events::open();
    const auto links = LinkEvents::open();
    const auto switches = RadioKillEvents::open();
    if (!radios || !links || !switches) {
        return fail(!radios ? radios.error() : !links ? links.error() : switches.error());
    }
    std::cout << "watching" << std::endl;
    std::array<pollfd, 4> waiting = {{{STDIN_FILENO, POLLIN, 0},
                                      {(*radios)->descriptor(), POLLIN, 0},
                                      {(*links)->descriptor(), POLLIN, 0},
                                      {(*switches)->descriptor(), POLLIN, 0}}};
    while (::poll(waiting.data(), waiting.size(), -1) > 0 && waiting[0].revents == 0) {
        if ((*radios)->drain()) {
            std::cout << "change nl80211" << std::endl;
        }
        if ((*links)->drain()) {
            std::cout << "change link" << std::endl;
        }
        if ((*switches)->drain()) {
            std::cout << "change rfkill" << std::endl;
        }
    }
    return 0;
}

int run(const std::string& verb, const std::vector<std::string>& arguments) {
    const auto number = [&arguments](std::size_t place) {
        return place < arguments.size() ? std::atoi(arguments[place].c_str()) : -1;
    };
    const auto wireless = Nl80211::open();
    const auto links = Links::open();
    if (!wireless || !links) {
        return fail(!wireless ? wireless.error() : links.error());
    }
    if (verb == "show") {
        return show(**wireless, **links);
    }
    if (verb == "monitor") {
        const auto name = arguments.size() > 1 ? QString::fromStdString(arguments[1]) : QStringLiteral("vantrel9");
        return monitor(**wireless, static_cast<std::uint32_t>(number(0)), name);
    }
    if (verb == "remove") {
        return end((*wireless)->removeInterface(number(0)));
    }
    if (verb == "tune") {
        return end((*wireless)->setChannel(number(0), {number(1), number(2), number(3)}));
    }
    if (verb == "up" || verb == "down") {
        return end((*links)->setUp(number(0), verb == "up"));
    }
    if (verb == "block" || verb == "unblock") {
        return end(setBlocked(static_cast<std::uint32_t>(number(0)), verb == "block"));
    }
    if (verb == "watch") {
        return watch();
    }
    std::cerr << "usage: netlink_probe show|monitor|remove|tune|up|down|block|unblock|watch …\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return arguments.empty() ? run({}, {}) : run(arguments.front(), {arguments.begin() + 1, arguments.end()});
}
