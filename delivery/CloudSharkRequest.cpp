#include "CloudSharkRequest.h"

#include <QByteArray>
#include <cstring>

namespace vantrel {

namespace {

// Filled with the appliance's URL, the token, the encoded file name, tags and comments.
constexpr QLatin1StringView uploadUrl{"%1/api/v1/%2/upload?filename=%3;additional_tags=%4;comments=%5"};

constexpr char unsafe[] = " \"#%<>[\\]^`{|}";

bool mayStandInUrl(char character) {
    return character > 0x20 && character < 0x7f && std::strchr(unsafe, character) == nullptr;
}

// "." and ".." as parts of a path are resolved before a request is sent, which then asks for something else.
bool isSentAsItStands(const QUrl& url) {
    return url.path(QUrl::FullyEncoded) == url.adjusted(QUrl::NormalizePathSegments).path(QUrl::FullyEncoded);
}

} // namespace

QString percentEncoded(const QString& text) {
    static constexpr char digits[] = "0123456789ABCDEF";
    const QByteArray utf8 = text.toUtf8();
    QString encoded;
    encoded.reserve(utf8.size());
    for (const char character : utf8) {
        if (mayStandInUrl(character)) {
            encoded += QLatin1Char(character);
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += QLatin1Char('%');
            encoded += QLatin1Char(digits[byte >> 4]);
            encoded += QLatin1Char(digits[byte & 0x0f]);
        }
    }
    return encoded;
}

std::optional<QUrl> cloudSharkUrl(const CloudSharkRequest& request) {
    // All at once, since each value may itself hold "%1".
    const QString text = QString(uploadUrl).arg(request.applianceUrl, request.token, percentEncoded(request.fileName),
                                                percentEncoded(request.tags), percentEncoded(request.comments));
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb = url.scheme() == QLatin1StringView("http") || url.scheme() == QLatin1StringView("https");
    if (!url.isValid() || !isWeb || url.host().isEmpty() || !isSentAsItStands(url)) {
        return std::nullopt;
    }
    return url;
}

} // namespace vantrel
