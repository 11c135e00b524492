#include "support/LogCapture.h"

#include <mutex>

namespace vantrel::testing {

namespace {
std::mutex mutex;
QStringList collected;               // guarded by mutex
QtMessageHandler previous = nullptr; // set while one LogCapture lives

void collect(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtDebugMsg && type != QtInfoMsg) {
        const std::lock_guard lock(mutex);
        collected.append(text);
    }
    if (previous != nullptr) {
        previous(type, context, text);
    }
}
} // namespace

LogCapture::LogCapture() {
    const std::lock_guard lock(mutex);
    collected.clear();
    previous = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture() { qInstallMessageHandler(previous); }

QStringList LogCapture::warnings() const {
    const std::lock_guard lock(mutex);
    return collected;
}

} // namespace vantrel::testing
