// The program behind its command line: finds the service, connects, hands the records on, and tells how it ended.
// Main thread.
#pragma once

#include "feed/FeedClient.h"
#include "feed/Options.h"
#include "feed/Output.h"
#include "feed/RecordSink.h"
#include "feed/ServiceFinder.h"
#include "feed/SignalWatch.h"
#include "feed/Sweeps.h"

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <memory>

namespace vantrel::feed {

class FeedProgram : public QObject {
public:
    FeedProgram(const Options& options, Charset charset);
    ~FeedProgram() override;

    // Runs the event loop to the end, and answers the exit status.
    [[nodiscard]] int run();

private:
    void connectTo(quint16 port, const QString& name);
    void recordCame(std::span<const std::uint8_t> bytes);
    void endSweep();
    void clientEnded(FeedClient::End how, const QString& text);
    void checkOutput();
    void finish(ExitStatus status, const QString& message = {});

    const Options _options;
    SignalWatch _signals;
    Output _output;
    std::unique_ptr<RecordSink> _sink;
    std::unique_ptr<ServiceFinder> _finder; // while it looks, and after
    FeedClient _client;
    Sweeps _sweeps;
    QTimer _silence; // after which the next record begins a sweep
    std::uint64_t _unreadable = 0;
    bool _finished = false;
};

} // namespace vantrel::feed
