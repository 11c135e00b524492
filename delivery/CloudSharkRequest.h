// The address that a capture is sent to on a CloudShark appliance.
#pragma once

#include <QString>
#include <QUrl>
#include <optional>

namespace vantrel {

struct CloudSharkRequest {
    QString applianceUrl; // without a trailing slash
    QString token;
    QString fileName;
    QString tags;
    QString comments;
};

// Empty when no address can be formed that says exactly this: the appliance's URL and the token stand in it as they
// are, so they may hold only what may stand in a URL. The parameters are separated by ";", and a ";" or "&" in one of
// them is not encoded and so begins another.
[[nodiscard]] std::optional<QUrl> cloudSharkUrl(const CloudSharkRequest& request);

// Encodes, as UTF-8, just the characters that may not stand in a URL at all: space, " # % < > [ \ ] ^ ` { | }, control
// characters and all beyond ASCII. The reserved ones stay as they are.
[[nodiscard]] QString percentEncoded(const QString& text);

} // namespace vantrel
