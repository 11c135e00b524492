// Any bytes as what an upload service answers: a link comes only of a JSON object and stays on the service's own pages,
// and what it did not say itself is told in our words. The first byte tells which service it is.
#include "FuzzInput.h"
#include "delivery/CaptureLinks.h"
#include "delivery/CloudSharkReply.h"
#include "delivery/MojoPacketsReply.h"

#include <QUrl>
#include <algorithm>

namespace {

using namespace vantrel;

// Behind a byte order mark and white space.
QByteArray beginning(QByteArray text) {
    if (text.startsWith("\xef\xbb\xbf")) {
        text.remove(0, 3);
    }
    return text.trimmed().left(1);
}

bool beginsAsObject(const QByteArray& text) { return beginning(text) == "{"; }

bool beginsAsJson(const QByteArray& text) { return beginsAsObject(text) || beginning(text) == "["; }

bool isOnePathComponent(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar character) {
        return character.unicode() < 0x80 &&
               (character.isLetterOrNumber() || QLatin1StringView("-._~%").contains(character));
    });
}

void checkCapture(const CloudSharkCapture& capture) {
    const QString pages = QStringLiteral("https://shark.example/sub/captures");
    const QString url = cloudSharkCaptureUrl(QStringLiteral("https://shark.example/sub/"), capture.id);
    require(url.startsWith(pages));
    const QString page = url.mid(pages.size());
    require(page.isEmpty() || (page[0] == QLatin1Char('/') && isOnePathComponent(page.mid(1))));
    require(page != QLatin1StringView("/..") && page != QLatin1StringView("/."));
    require(QUrl(url, QUrl::StrictMode).isValid());
}

void readCloudShark(const QByteArray& piece) {
    const CloudSharkReply reply = readCloudSharkReply(piece);
    require(std::holds_alternative<std::monostate>(reply) || beginsAsObject(piece));
    if (const auto* const capture = std::get_if<CloudSharkCapture>(&reply)) {
        checkCapture(*capture);
    } else if (const auto* const refusal = std::get_if<CloudSharkRefusal>(&reply)) {
        require(refusal->error.endsWith(QLatin1Char('.')));
    }
}

void readMojoPackets(const QByteArray& output) {
    const MojoPacketsReply reply = readMojoPacketsReply(output);
    if (!reply) {
        // Its own words may be none; what is no answer of the service's has ours.
        require(beginsAsJson(output) || (reply.error() && !reply.error()->isEmpty()));
        return;
    }
    require(beginsAsObject(output));
    const QString url = mojoPacketsLoginUrl(reply->email, reply->ticket, reply->traceId);
    require(url.startsWith(QLatin1StringView("https://mojopackets.example/site/login?email=") + reply->email));
    require(url.endsWith(QLatin1StringView("&trace_id=") + reply->traceId));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
    if (data[0] % 2 == 0) {
        readCloudShark(bytes);
    } else {
        readMojoPackets(bytes);
    }
    return 0;
}
