// What the Mojo Packets service answers to an upload: the trace it has made, or why there is none.
//
// Pure; any thread. Whoever answers at the service's address wrote the bytes; each value of another kind than text is
// taken as its text (ReplyText).
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <tl/expected.hpp>

namespace vantrel {

struct MojoPacketsTrace {
    QString email;
    QString ticket;
    QString traceId;
};

// The error is what is shown to the user, in the words of the service or ours; none when the service gave none.
using MojoPacketsReply = tl::expected<MojoPacketsTrace, std::optional<QString>>;

[[nodiscard]] MojoPacketsReply readMojoPacketsReply(const QByteArray& output);

} // namespace vantrel
