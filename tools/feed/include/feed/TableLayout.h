// The table of networks as lines of text. Pure functions, for any thread.
#pragma once

#include "feed/NetworkTable.h"
#include "feed/SafeText.h"

#include <chrono>
#include <span>
#include <string>
#include <vector>

namespace vantrel::feed {

struct TableStyle {
    int columns = 80; // of the terminal; no line is longer
    int rows = 0;     // of the terminal, for header and networks together; 0: all of them
    bool colour = false;
    Charset charset = Charset::Utf8;
};

// A header line and one line a network, in the order given. Where not all columns fit, the name of the network is cut
// first, then whole columns are left out; where not all networks fit, the last line tells how many are missing. Times
// are told as their distance from now.
[[nodiscard]] std::vector<std::string> tableLines(std::span<const Network* const> networks, const TableStyle& style,
                                                  std::chrono::steady_clock::time_point now);

// "now", "59s", "59m", "23h", "9d": how long ago.
[[nodiscard]] std::string ageText(std::chrono::steady_clock::duration age);

} // namespace vantrel::feed
