#include "feed/RecordSink.h"

#include "LiveTable.h"
#include "feed/TableLayout.h"

namespace vantrel::feed {

namespace {

class JsonLines : public RecordSink {
public:
    explicit JsonLines(Output& output) : _output(output) {}

    void connected(const QString& /*service*/) override {}
    void record(const Record& record) override {
        if (record.beacon) {
            _output.write(jsonLine(*record.beacon, record.time, record.sweep));
        }
    }
    void caughtUp() override { _output.flush(); }
    void sweepEnded(std::uint64_t /*sweep*/) override { _output.flush(); }
    void finish() override { _output.flush(); }

private:
    Output& _output; // borrowed
};

// Every record as it came, also one that cannot be read here.
class PcapStream : public RecordSink {
public:
    explicit PcapStream(Output& output) : _output(output) {}

    void connected(const QString& /*service*/) override {
        _output.write(pcapHeader());
        _output.flush();
    }
    void record(const Record& record) override { _output.write(pcapFrame(record.bytes, record.time)); }
    void caughtUp() override { _output.flush(); }
    void sweepEnded(std::uint64_t /*sweep*/) override { _output.flush(); }
    void finish() override { _output.flush(); }

private:
    Output& _output; // borrowed
};

// The whole table after every sweep, for a file, a pipe, or a terminal that can only print.
class PrintedTable : public RecordSink {
public:
    PrintedTable(SortKey sort, Charset charset, Output& output) : _sort(sort), _charset(charset), _output(output) {}

    void connected(const QString& /*service*/) override {}
    void record(const Record& record) override {
        if (record.beacon) {
            _table.update(*record.beacon, std::chrono::steady_clock::now());
        }
    }
    void caughtUp() override {}
    void sweepEnded(std::uint64_t sweep) override {
        constexpr int asWideAsNeeded = 1000;
        const TableStyle style{asWideAsNeeded, 0, false, _charset};
        if (sweep > 1) {
            _output.write("\n");
        }
        for (const std::string& line : tableLines(_table.sorted(_sort), style, std::chrono::steady_clock::now())) {
            _output.write(line + '\n');
        }
        _output.flush();
    }
    void finish() override { _output.flush(); }

private:
    const SortKey _sort;
    const Charset _charset;
    Output& _output; // borrowed
    NetworkTable _table;
};

} // namespace

std::unique_ptr<RecordSink> makeSink(const Options& options, Charset charset, Output& output, SignalWatch& signals) {
    switch (options.format) {
    case OutputFormat::Json:
        return std::make_unique<JsonLines>(output);
    case OutputFormat::Pcap:
        return std::make_unique<PcapStream>(output);
    case OutputFormat::Table:
        break;
    }
    if (Terminal::isLive(output.descriptor())) {
        return std::make_unique<LiveTable>(options.sort, charset, output, signals);
    }
    return std::make_unique<PrintedTable>(options.sort, charset, output);
}

} // namespace vantrel::feed
