// The record of what must be put back, as the text of its file: one JSON object.
//
// Pure; any thread. The file lies in a folder of the user's, so any program of theirs may have written it.
#pragma once

#include "keeper/Debts.h"

#include <QByteArray>
#include <QtGlobal>
#include <optional>

namespace vantrel {

inline constexpr qsizetype longestDebtText = 4096; // bytes; a real one has some two hundred

[[nodiscard]] QByteArray debtText(const Debts& debts);

// Nothing when the text names no interface that could be, owes nothing, or owes more than a machine has. What is
// answered is never longer as a text than longestDebtText.
[[nodiscard]] std::optional<Debts> parseDebtText(const QByteArray& text);

} // namespace vantrel
