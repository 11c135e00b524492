// What the command line of vantrel-feedd asks for, and how the program ends.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <tl/expected.hpp>

namespace vantrel::feedd {

// For other programs; told in the man page and in --help.
enum ExitStatus {
    EndedAsAsked = 0, // by a signal, with the adapter back where it was
    CannotServe = 1,  // no port of 127.0.0.1 to listen on, or nowhere to print it
    WrongUse = 2,
    NoAdapter = 3,    // or one that somebody else of this user drives
    NoPermission = 4, // to capture
};

struct HostOptions {
    bool simulated = false;
    std::optional<QString> print; // only to be printed: help or version
};

// Reads the arguments behind the program's name. An error is a sentence for the user.
[[nodiscard]] tl::expected<HostOptions, QString> readOptions(const QStringList& arguments);

} // namespace vantrel::feedd
