// What the command line asks for.
#pragma once

#include "feed/NetworkTable.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <tl/expected.hpp>

namespace vantrel::feed {

// How the program ends; docs are its man page and --help.
enum ExitStatus {
    EndedAsAsked = 0,   // the sweeps asked for have come, the user ended it, or the reader of the output has gone
    EndedByFailure = 1, // the service ended the connection or sent what is no record, or output failed
    WrongUse = 2,
    NoServiceFound = 3,
    NotServed = 4, // nobody listens on the port, or the connection was closed without a byte
};

enum class OutputFormat { Table, Json, Pcap };

struct Options {
    OutputFormat format = OutputFormat::Table;
    SortKey sort = SortKey::Signal;
    std::uint16_t port = 0;       // 0: found over DNS-SD
    QString name;                 // of the service; empty: the first
    std::uint64_t sweeps = 0;     // to end after; 0: never
    std::optional<QString> print; // only to be printed: help or version
};

// Reads the arguments behind the program's name. An error is a sentence for the user.
[[nodiscard]] tl::expected<Options, QString> readOptions(const QStringList& arguments);

} // namespace vantrel::feed
