#include "LiveTable.h"

#include "feed/SignalWatch.h"
#include "feed/TableLayout.h"

#include <array>
#include <chrono>
#include <unistd.h>

namespace vantrel::feed {

namespace {

constexpr std::chrono::milliseconds drawInterval{100};
constexpr std::chrono::seconds ageInterval{1};

bool colourWanted() { return qgetenv("NO_COLOR").isEmpty(); } // no-color.org

} // namespace

LiveTable::LiveTable(SortKey sort, Charset charset, Output& output, SignalWatch& signals)
    : _sort(sort),
      _charset(charset),
      _colour(colourWanted()),
      _output(output),
      _signals(signals),
      _terminal(output) {
    _soon.setSingleShot(true);
    connect(&_soon, &QTimer::timeout, this, &LiveTable::draw);
    connect(&_ageing, &QTimer::timeout, this, &LiveTable::draw);
    connect(&signals, &SignalWatch::resized, this, &LiveTable::draw);
    connect(&signals, &SignalWatch::stopRequested, this, &LiveTable::stop);
    connect(&signals, &SignalWatch::continued, this, &LiveTable::goOn);
}

LiveTable::~LiveTable() = default;

void LiveTable::connected(const QString& service) {
    _service = shownText(service.toStdString(), _charset);
    _terminal.enter();
    watchKeyboard();
    _ageing.start(ageInterval);
    draw();
}

void LiveTable::watchKeyboard() {
    if (::isatty(STDIN_FILENO) == 1 && !_keyboard) {
        _keyboard = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        connect(_keyboard.get(), &QSocketNotifier::activated, this, &LiveTable::readKeyboard);
    }
}

void LiveTable::readKeyboard() {
    if (!_terminal.isForeground()) { // what is typed is meant for somebody else
        _keyboard->setEnabled(false);
        return;
    }
    std::array<char, 64> keys{};
    const ssize_t count = ::read(STDIN_FILENO, keys.data(), keys.size());
    if (count <= 0) {
        _keyboard->setEnabled(false); // hung up
        return;
    }
    if (std::string_view(keys.data(), static_cast<std::size_t>(count)).find('q') != std::string_view::npos) {
        Q_EMIT _signals.endRequested();
    }
}

void LiveTable::stop() {
    _terminal.leave();
    SignalWatch::stopProcess();
}

void LiveTable::goOn() {
    if (_service.empty()) {
        return; // not yet connected
    }
    _terminal.enter();
    if (_keyboard) {
        _keyboard->setEnabled(_terminal.isEntered());
    }
    draw();
}

void LiveTable::record(const Record& record) {
    if (record.beacon) {
        _table.update(*record.beacon, std::chrono::steady_clock::now());
        changed();
    }
}

void LiveTable::sweepEnded(std::uint64_t sweep) {
    _sweeps = sweep;
    changed();
}

void LiveTable::changed() {
    if (!_soon.isActive()) {
        _soon.start(drawInterval);
    }
}

void LiveTable::draw() {
    if (_terminal.isEntered() && _terminal.isForeground()) {
        const auto size = _terminal.size();
        _terminal.show(lines(size.columns, size.rows));
        _output.flush();
    }
}

std::string LiveTable::statusLine() const {
    return _service + "   " + std::to_string(_sweeps) + (_sweeps == 1 ? " sweep   " : " sweeps   ") +
           std::to_string(_table.size()) + (_table.size() == 1 ? " network" : " networks");
}

// Rows: of the screen; 0 for all networks.
std::vector<std::string> LiveTable::lines(int columns, int rows) const {
    const TableStyle style{columns, rows > 1 ? rows - 1 : rows, _colour, _charset};
    auto lines = tableLines(_table.sorted(_sort), style, std::chrono::steady_clock::now());
    if (rows != 1) {
        const std::string status = statusLine();
        lines.insert(lines.begin(), displayWidth(status) > columns ? fitted(status, columns, _charset) : status);
    }
    return lines;
}

// What was heard stays on the user's own screen.
void LiveTable::finish() {
    _soon.stop();
    _ageing.stop();
    _keyboard.reset();
    const bool wasEntered = _terminal.isEntered();
    _terminal.leave();
    if (wasEntered && _table.size() > 0) {
        for (const std::string& line : lines(_terminal.size().columns, 0)) {
            _output.write(line + '\n');
        }
        _output.flush();
    }
}

} // namespace vantrel::feed
