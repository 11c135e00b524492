// Where the records go: the table, JSON lines, or a pcap stream. Main thread.
#pragma once

#include "feed/Formats.h"
#include "feed/Options.h"
#include "feed/Output.h"
#include "feed/SafeText.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace vantrel::feed {

class SignalWatch;

struct Record {
    std::span<const std::uint8_t> bytes; // borrowed for the call
    std::optional<Beacon> beacon;        // nothing where the bytes are none
    WallTime time;
    std::uint64_t sweep = 0;
};

class RecordSink {
public:
    virtual ~RecordSink() = default;

    virtual void connected(const QString& service) = 0;
    virtual void record(const Record& record) = 0;
    // Nothing more is there for the moment: what was written may be handed on.
    virtual void caughtUp() = 0;
    virtual void sweepEnded(std::uint64_t sweep) = 0;
    // The last call, whatever ended the program: puts the terminal back.
    virtual void finish() = 0;
};

// Output and signals are borrowed.
[[nodiscard]] std::unique_ptr<RecordSink> makeSink(const Options& options, Charset charset, Output& output,
                                                   SignalWatch& signals);

} // namespace vantrel::feed
