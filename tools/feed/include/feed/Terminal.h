// The terminal while a live table is on it: a screen of its own, without cursor and echo, and everything as it was
// afterwards.
//
// One per program, main thread. It is put back at the latest by the destructor; whoever lets the program end in any
// other way calls leave() first.
#pragma once

#include "feed/Output.h"

#include <optional>
#include <string>
#include <termios.h>
#include <vector>

namespace vantrel::feed {

class Terminal {
public:
    struct Size {
        int columns = 80;
        int rows = 24;
    };

    // The output is borrowed.
    explicit Terminal(Output& output);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Whether a table can live on what the descriptor leads to: a terminal that understands the usual sequences.
    [[nodiscard]] static bool isLive(int descriptor);

    // Takes the screen over, unless the process is in the background, where the screen belongs to somebody else.
    void enter();
    void leave();
    [[nodiscard]] bool isEntered() const { return _entered; }
    [[nodiscard]] bool isForeground() const;

    [[nodiscard]] Size size() const;
    // Shows the lines from the top, and nothing below them. Only while entered.
    void show(const std::vector<std::string>& lines);

private:
    void hushKeyboard();

    Output& _output; // borrowed
    bool _entered = false;
    std::optional<termios> _before;
};

} // namespace vantrel::feed
