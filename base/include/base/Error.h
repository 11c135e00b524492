// What a fallible function returns instead of a value: what was tried, and why it failed.
#pragma once

#include <QString>
#include <cerrno>
#include <cstring>
#include <tl/expected.hpp>

namespace vantrel {

struct Error {
    QString what; // the call or action that failed, such as "open" or "TUNSETIFF"
    QString why;  // its error text, readable by the user

    [[nodiscard]] QString text() const { return what + QStringLiteral(": ") + why; }

    // The failure of a system call that set errno. Call it before anything else can change errno.
    [[nodiscard]] static Error fromErrno(const QString& call) {
        return {call, QString::fromLocal8Bit(std::strerror(errno))};
    }
};

template <typename T>
using Expected = tl::expected<T, Error>;

[[nodiscard]] inline tl::unexpected<Error> failure(QString what, QString why) {
    return tl::unexpected<Error>({std::move(what), std::move(why)});
}

[[nodiscard]] inline tl::unexpected<Error> errnoFailure(const QString& call) {
    return tl::unexpected<Error>(Error::fromErrno(call));
}

} // namespace vantrel
