// Any bytes as the record of what must be put back: they are refused, or what was read owes something to an interface
// that can be, and reads the same once it was written again.
#include "FuzzInput.h"
#include "keeper/DebtText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    const auto debts = parseDebtText(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (!debts) {
        return 0;
    }
    require(debts->any());
    require(!debts->interfaceName.isEmpty() && debts->interfaceName.size() <= 15);
    const QByteArray written = debtText(*debts);
    require(written.size() <= longestDebtText);
    require(parseDebtText(written) == debts);
    return 0;
}
