// Any bytes as the user's autostart entry, and as the path of a program that has one: whatever the path, its own entry
// starts it, and no other program.
#include "AutostartEntry.h"
#include "FuzzInput.h"

#include <QByteArray>
#include <QDir>
#include <QString>

namespace {

// A path that can be: absolute, and with no byte 0.
QString pathOf(const QByteArray& bytes) {
    const qsizetype end = bytes.indexOf('\0');
    return QDir::cleanPath(QLatin1Char('/') + QString::fromUtf8(end < 0 ? bytes : bytes.left(end)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    static const bool searchesNowhere = qputenv("PATH", "/nonexistent");
    require(searchesNowhere);
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString nobodys = QStringLiteral("/nonexistent/vantrel");
    static_cast<void>(entryLaunches(bytes, nobodys));
    const QString path = pathOf(bytes);
    require(entryLaunches(autostartEntry(path), path));
    require(!entryLaunches(autostartEntry(path), path + QLatin1Char('x')));
    return 0;
}
