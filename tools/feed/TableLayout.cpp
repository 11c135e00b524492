#include "feed/TableLayout.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace vantrel::feed {

namespace {

constexpr std::string_view bold = "\x1b[1m";
constexpr std::string_view dim = "\x1b[2m";
constexpr std::string_view green = "\x1b[32m";
constexpr std::string_view yellow = "\x1b[33m";
constexpr std::string_view red = "\x1b[31m";
constexpr std::string_view plain = "\x1b[0m";

// dBm. From the first on, every rate works; below the second, hardly any.
constexpr int strong = -60;
constexpr int weak = -75;
constexpr std::chrono::seconds stale{15}; // not heard for several sweeps of all channels

enum class Column { Address, Name, Channel, Width, Signal, Noise, Protection, Seen };
struct ColumnLayout {
    Column column;
    std::string_view title;
    int width;
    int dropRank; // where space is short, the highest goes first; 0: stays
    bool rightAligned;
};
constexpr int narrowestSsid = 8;
constexpr int narrowestSecurity = 15;
constexpr int gap = 2;
constexpr std::array layouts = {
    ColumnLayout{Column::Address, "BSSID", 17, 1, false},
    ColumnLayout{Column::Name, "SSID", narrowestSsid, 0, false},
    ColumnLayout{Column::Channel, "CH", 3, 3, true},
    ColumnLayout{Column::Width, "WIDTH", 5, 5, true},
    ColumnLayout{Column::Signal, "SIGNAL", 6, 0, true},
    ColumnLayout{Column::Noise, "NOISE", 5, 6, true},
    ColumnLayout{Column::Protection, "SECURITY", narrowestSecurity, 2, false},
    ColumnLayout{Column::Seen, "SEEN", 4, 4, true},
};

std::string numberText(std::optional<int> number) { return number ? std::to_string(*number) : "-"; }

std::string cellText(const Network& network, Column column, Charset charset, std::chrono::steady_clock::duration age) {
    const Beacon& beacon = network.beacon;
    switch (column) {
    case Column::Address:
        return bssidText(beacon.bssid);
    case Column::Name:
        return beacon.ssid.empty() ? "(hidden)" : shownText(beacon.ssid, charset);
    case Column::Channel:
        return numberText(beacon.channel);
    case Column::Width:
        return std::string(widthText(beacon.width));
    case Column::Signal:
        return numberText(beacon.signal);
    case Column::Noise:
        return numberText(beacon.noise);
    case Column::Protection:
        return securityText(beacon.security);
    case Column::Seen:
        return ageText(age);
    }
    return {};
}

int totalWidth(const std::vector<ColumnLayout>& columns) {
    int total = gap * (static_cast<int>(columns.size()) - 1);
    for (const ColumnLayout& column : columns) {
        total += column.width;
    }
    return total;
}

// Which column takes how much of the space that is left, one step after the other.
struct Growth {
    Column column;
    int width;
};
constexpr std::array growths = {Growth{Column::Name, 20}, Growth{Column::Protection, 20}, Growth{Column::Name, 32},
                                Growth{Column::Protection, 40}};

// The columns that fit, those of text as wide as they can be.
std::vector<ColumnLayout> columnsFor(int available) {
    std::vector<ColumnLayout> columns(layouts.begin(), layouts.end());
    const auto byRank = [](const ColumnLayout& a, const ColumnLayout& b) { return a.dropRank < b.dropRank; };
    for (;;) {
        const auto last = std::max_element(columns.begin(), columns.end(), byRank);
        if (totalWidth(columns) <= available || last->dropRank == 0) {
            break;
        }
        columns.erase(last);
    }
    for (const Growth growth : growths) {
        for (ColumnLayout& column : columns) {
            const int space = available - totalWidth(columns);
            if (column.column == growth.column && space > 0) {
                column.width = std::min(growth.width, column.width + space);
            }
        }
    }
    return columns;
}

std::string aligned(const std::string& text, const ColumnLayout& column, Charset charset) {
    const int missing = column.width - displayWidth(text);
    if (column.rightAligned && missing > 0) {
        return std::string(static_cast<std::size_t>(missing), ' ') + text;
    }
    return fitted(text, column.width, charset);
}

std::string_view strengthColour(std::optional<int> signal) {
    if (!signal) {
        return plain;
    }
    return *signal >= strong ? green : *signal >= weak ? yellow : red;
}

std::string withoutTrailingSpaces(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string headerLine(const std::vector<ColumnLayout>& columns, const TableStyle& style) {
    std::string line;
    for (const ColumnLayout& column : columns) {
        line += line.empty() ? "" : std::string(gap, ' ');
        line += aligned(std::string(column.title), column, style.charset);
    }
    line = withoutTrailingSpaces(fitted(line, style.columns, style.charset));
    return style.colour ? std::string(bold) + line + std::string(plain) : line;
}

std::string networkLine(const Network& network, const std::vector<ColumnLayout>& columns, const TableStyle& style,
                        std::chrono::steady_clock::time_point now) {
    const auto age = now - network.lastSeen;
    std::string line;
    std::string coloured;
    for (const ColumnLayout& column : columns) {
        const std::string before = line.empty() ? "" : std::string(gap, ' ');
        const std::string cell = aligned(cellText(network, column.column, style.charset, age), column, style.charset);
        line += before + cell;
        const bool strength = column.column == Column::Signal && age < stale;
        coloured += before;
        coloured += strength ? std::string(strengthColour(network.beacon.signal)) + cell + std::string(plain) : cell;
    }
    if (!style.colour || displayWidth(line) > style.columns) {
        return withoutTrailingSpaces(fitted(line, style.columns, style.charset));
    }
    coloured = withoutTrailingSpaces(std::move(coloured));
    return age < stale ? coloured : std::string(dim) + coloured + std::string(plain);
}

} // namespace

std::vector<std::string> tableLines(std::span<const Network* const> networks, const TableStyle& style,
                                    std::chrono::steady_clock::time_point now) {
    const auto columns = columnsFor(style.columns);
    std::vector<std::string> lines = {headerLine(columns, style)};
    if (style.rows == 1) {
        return lines;
    }
    const auto room = static_cast<std::size_t>(std::max(style.rows - 1, 1));
    const bool cut = style.rows > 0 && networks.size() > room;
    for (const Network* network : networks.first(cut ? room - 1 : networks.size())) {
        lines.push_back(networkLine(*network, columns, style, now));
    }
    if (cut) {
        const std::string more = "and " + std::to_string(networks.size() - room + 1) + " more";
        lines.push_back(withoutTrailingSpaces(fitted(more, style.columns, style.charset)));
    }
    return lines;
}

std::string ageText(std::chrono::steady_clock::duration age) {
    constexpr long minute = 60;
    constexpr long hour = 60 * minute;
    constexpr long day = 24 * hour;
    const long seconds = std::chrono::duration_cast<std::chrono::seconds>(age).count();
    if (seconds < 1) {
        return "now";
    }
    if (seconds < minute) {
        return std::to_string(seconds) + "s";
    }
    if (seconds < hour) {
        return std::to_string(seconds / minute) + "m";
    }
    if (seconds < day) {
        return std::to_string(seconds / hour) + "h";
    }
    return std::to_string(std::min(seconds / day, 999L)) + "d";
}

} // namespace vantrel::feed
