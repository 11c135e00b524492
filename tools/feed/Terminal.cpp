#include "feed/Terminal.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vantrel::feed {

namespace {

Q_LOGGING_CATEGORY(lcTerminal, "vantrel.feed.terminal")

// ECMA-48 and the private modes of xterm: a second screen (1049), the cursor (25), lines that wrap (7).
constexpr std::string_view enterSequence = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view leaveSequence = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr std::string_view home = "\x1b[H";
constexpr std::string_view clearLine = "\x1b[K";
constexpr std::string_view clearBelow = "\x1b[J";

void logFailure(const char* call) {
    const Error error = Error::fromErrno(QString::fromLatin1(call));
    qCWarning(lcTerminal, "%s() failed: %s", call, qUtf8Printable(error.why));
}

} // namespace

Terminal::Terminal(Output& output) : _output(output) {}

Terminal::~Terminal() { leave(); }

bool Terminal::isLive(int descriptor) {
    const QByteArray kind = qgetenv("TERM");
    return ::isatty(descriptor) == 1 && !kind.isEmpty() && kind != "dumb";
}

// A terminal that is not the one that controls us has no background.
bool Terminal::isForeground() const {
    const pid_t group = ::tcgetpgrp(_output.descriptor());
    return group < 0 || group == ::getpgrp();
}

void Terminal::enter() {
    if (_entered || !isForeground()) {
        return;
    }
    _entered = true;
    hushKeyboard();
    _output.write(enterSequence);
}

void Terminal::hushKeyboard() {
    termios mode{};
    if (::tcgetattr(_output.descriptor(), &mode) != 0) {
        logFailure("tcgetattr");
        return;
    }
    _before = mode;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    if (::tcsetattr(_output.descriptor(), TCSANOW, &mode) != 0) {
        logFailure("tcsetattr");
        _before.reset();
    }
}

void Terminal::leave() {
    if (!_entered) {
        return;
    }
    _entered = false;
    if (!isForeground()) {
        return; // whoever has the terminal now has put it back
    }
    _output.writeAtEnd(leaveSequence);
    if (_before && ::tcsetattr(_output.descriptor(), TCSANOW, &*_before) != 0 && errno != EIO) { // EIO: hung up
        logFailure("tcsetattr");
    }
    _before.reset();
}

Terminal::Size Terminal::size() const {
    winsize window{};
    if (::ioctl(_output.descriptor(), TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0) {
        return {};
    }
    return {window.ws_col, window.ws_row};
}

// Cleared is in front of the text: behind a line as wide as the terminal the cursor stands on its last character.
void Terminal::show(const std::vector<std::string>& lines) {
    std::string screen(home);
    for (const std::string& line : lines) {
        screen.append(&line == &lines.front() ? "" : "\n").append(clearLine).append(line);
    }
    if (static_cast<int>(lines.size()) < size().rows) {
        screen.append("\n").append(clearBelow);
    }
    _output.write(screen);
}

} // namespace vantrel::feed
