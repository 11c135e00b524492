// Lets a number field take decimal digits alone.
//
// Main thread.
#pragma once

#include <QValidator>
#include <cstdint>

namespace vantrel::preferences {

class VantrelIntegerFormatter : public QValidator {
    Q_OBJECT
public:
    using QValidator::QValidator;

    // Any text of the digits 0 to 9 is acceptable, and so is the empty one: what it stands for, the field's own rule
    // says when the editing ends. Everything else is refused as the user types.
    [[nodiscard]] State validate(QString& text, int& position) const override;

    // The number that a field's text begins with: 0 when there is none, the largest when it is larger than that.
    [[nodiscard]] static std::int64_t numberIn(const QString& text);
};

} // namespace vantrel::preferences
