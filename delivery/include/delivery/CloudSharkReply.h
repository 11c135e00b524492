// What one piece of a CloudShark appliance's answer says.
//
// Pure; any thread. Whoever answers at the appliance's address wrote the bytes: what is no JSON object says nothing,
// and each value of another kind than text is taken as its text (ReplyText).
#pragma once

#include <QByteArray>
#include <QString>
#include <variant>

namespace vantrel {

// The capture is there, under the identifier and file name that the appliance gave it.
struct CloudSharkCapture {
    QString id;
    QString fileName;
};

// It was refused; the text is that of the first exception, with a full stop.
struct CloudSharkRefusal {
    QString error;
};

using CloudSharkReply = std::variant<std::monostate, CloudSharkCapture, CloudSharkRefusal>;

[[nodiscard]] CloudSharkReply readCloudSharkReply(const QByteArray& piece);

} // namespace vantrel
