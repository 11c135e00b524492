#include "FeedProgram.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace vantrel::feed {

namespace {

// A sweep of a real adapter takes longer than this from the last record of one to the first of the next, and the
// records of one sweep follow each other at once.
constexpr std::chrono::milliseconds sweepSilence{250};

} // namespace

FeedProgram::FeedProgram(const Options& options, Charset charset)
    : _options(options),
      _output(STDOUT_FILENO, _signals.endDescriptor()),
      _sink(makeSink(options, charset, _output, _signals)) {
    _silence.setSingleShot(true);
    _silence.setInterval(sweepSilence);
    connect(&_silence, &QTimer::timeout, this, &FeedProgram::endSweep);
    connect(&_signals, &SignalWatch::endRequested, this, [this] { finish(EndedAsAsked); });
    connect(&_client, &FeedClient::recordCame, this, &FeedProgram::recordCame);
    connect(&_client, &FeedClient::ended, this, &FeedProgram::clientEnded);
    connect(&_client, &FeedClient::caughtUp, this, [this] {
        _sink->caughtUp();
        checkOutput();
    });
}

FeedProgram::~FeedProgram() = default;

int FeedProgram::run() {
    if (_options.port != 0) {
        connectTo(_options.port, QStringLiteral("port %1").arg(_options.port));
    } else {
        _finder = std::make_unique<ServiceFinder>(_options.name);
        connect(_finder.get(), &ServiceFinder::found, this, &FeedProgram::connectTo);
        connect(_finder.get(), &ServiceFinder::notFound, this,
                [this](const QString& why) { finish(NoServiceFound, why); });
        _finder->start();
    }
    return QCoreApplication::exec();
}

void FeedProgram::connectTo(quint16 port, const QString& name) {
    connect(&_client, &FeedClient::connected, this, [this, name] {
        _sink->connected(name);
        checkOutput();
    });
    _client.connectTo(port);
}

void FeedProgram::recordCame(std::span<const std::uint8_t> bytes) {
    const auto beacon = readBeacon(bytes);
    if (beacon) {
        if (_sweeps.beginsNext(beacon->bssid)) {
            endSweep();
            if (_finished) {
                return;
            }
        }
        _sweeps.add(beacon->bssid);
        _silence.start();
    } else {
        ++_unreadable;
    }
    _sink->record({bytes, beacon, std::chrono::system_clock::now(), _sweeps.ended() + 1});
    checkOutput();
}

void FeedProgram::endSweep() {
    if (!_sweeps.end()) {
        return;
    }
    _silence.stop();
    _sink->sweepEnded(_sweeps.ended());
    checkOutput();
    if (_options.sweeps != 0 && _sweeps.ended() >= _options.sweeps) {
        finish(EndedAsAsked);
    }
}

void FeedProgram::clientEnded(FeedClient::End how, const QString& text) {
    switch (how) {
    case FeedClient::End::Refused:
    case FeedClient::End::ClosedUnserved:
        finish(NotServed, text);
        return;
    case FeedClient::End::Closed:
    case FeedClient::End::ClosedInsideRecord:
    case FeedClient::End::NoFeed:
    case FeedClient::End::Failed:
        break;
    }
    endSweep(); // nothing more of it can come
    finish(EndedByFailure, text);
}

void FeedProgram::checkOutput() {
    switch (_output.state()) {
    case Output::State::Open:
        break;
    case Output::State::ReaderGone:
    case Output::State::Interrupted:
        finish(EndedAsAsked);
        break;
    case Output::State::Failed:
        finish(EndedByFailure, _output.error()->text());
        break;
    }
}

void FeedProgram::finish(ExitStatus status, const QString& message) {
    if (std::exchange(_finished, true)) {
        return;
    }
    _silence.stop();
    _client.close();
    _sink->finish();
    if (_output.state() == Output::State::Failed && status == EndedAsAsked) {
        std::fprintf(stderr, "vantrel-feed: %s\n", qUtf8Printable(_output.error()->text()));
        status = EndedByFailure;
    }
    if (!message.isEmpty()) {
        std::fprintf(stderr, "vantrel-feed: %s\n", qUtf8Printable(message));
    }
    if (_unreadable > 0) {
        std::fprintf(stderr, "vantrel-feed: records that were no whole beacon or probe response: %llu\n",
                     static_cast<unsigned long long>(_unreadable));
    }
    // Queued, so that it also ends an event loop that has not begun.
    QMetaObject::invokeMethod(
        this, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
}

} // namespace vantrel::feed
