// The table on a terminal, drawn anew as the networks change. Main thread.
#pragma once

#include "feed/NetworkTable.h"
#include "feed/RecordSink.h"
#include "feed/SafeText.h"
#include "feed/Terminal.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>

namespace vantrel::feed {

class LiveTable : public QObject, public RecordSink {
public:
    // Output and signals are borrowed.
    LiveTable(SortKey sort, Charset charset, Output& output, SignalWatch& signals);
    ~LiveTable() override;

    void connected(const QString& service) override;
    void record(const Record& record) override;
    void caughtUp() override {}
    void sweepEnded(std::uint64_t sweep) override;
    void finish() override;

private:
    void watchKeyboard();
    void readKeyboard();
    void stop();
    void goOn();
    void changed();
    void draw();
    [[nodiscard]] std::vector<std::string> lines(int columns, int rows) const;
    [[nodiscard]] std::string statusLine() const;

    const SortKey _sort;
    const Charset _charset;
    const bool _colour;
    Output& _output;       // borrowed
    SignalWatch& _signals; // borrowed
    Terminal _terminal;
    std::unique_ptr<QSocketNotifier> _keyboard;
    NetworkTable _table;
    std::string _service;
    std::uint64_t _sweeps = 0;
    QTimer _soon;   // draws what has changed, several changes at once
    QTimer _ageing; // draws the ages, when nothing else changes
};

} // namespace vantrel::feed
