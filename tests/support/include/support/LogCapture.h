// Collects what is logged while it lives, from all threads, so that a test can compare the texts.
#pragma once

#include <QString>
#include <QStringList>

namespace vantrel::testing {

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The texts so far, warnings and worse only, without category or level.
    [[nodiscard]] QStringList warnings() const;
};

} // namespace vantrel::testing
