#include "keeper/DebtText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <net/if.h>

namespace vantrel {

namespace {

constexpr qsizetype longestAddress = 95; // characters; the kernel's addresses have at most 32 bytes
constexpr std::size_t mostP2pDevices = 64;

const QString interfaceKey = QStringLiteral("interface");
const QString addressKey = QStringLiteral("address");
const QString raiseLinkKey = QStringLiteral("raiseLink");
const QString handBackKey = QStringLiteral("handBack");
const QString p2pDevicesKey = QStringLiteral("p2pDevices");

// As texts: a JSON number would not hold all of them.
QJsonArray textsOf(const std::vector<std::uint64_t>& numbers) {
    QJsonArray texts;
    for (const std::uint64_t number : numbers) {
        texts.append(QString::number(number));
    }
    return texts;
}

std::vector<std::uint64_t> numbersOf(const QJsonArray& texts) {
    std::vector<std::uint64_t> numbers;
    for (const auto& text : texts) {
        bool valid = false;
        const std::uint64_t number = text.toString().toULongLong(&valid);
        if (valid) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

// The kernel has no longer names, and lets them be of nearly any bytes: an adapter whose name is unusual must be given
// back too. Control characters alone are left out, which would drive a terminal through the log.
bool canBeInterface(const QString& name) {
    return !name.isEmpty() && name.size() < IFNAMSIZ && std::none_of(name.begin(), name.end(), [](QChar character) {
        return character.category() == QChar::Other_Control;
    });
}

bool canBeAddress(const QString& address) {
    return address.size() <= longestAddress && std::all_of(address.begin(), address.end(), [](QChar character) {
               return character == QLatin1Char(':') || QLatin1StringView("0123456789abcdef").contains(character);
           });
}

} // namespace

QByteArray debtText(const Debts& debts) {
    const QJsonObject object{{interfaceKey, debts.interfaceName},
                             {addressKey, debts.address},
                             {raiseLinkKey, debts.raiseLink},
                             {handBackKey, debts.handBack},
                             {p2pDevicesKey, textsOf(debts.p2pDevices)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<Debts> parseDebtText(const QByteArray& text) {
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    Debts debts{.interfaceName = object[interfaceKey].toString(),
                .address = object[addressKey].toString(),
                .raiseLink = object[raiseLinkKey].toBool(),
                .handBack = object[handBackKey].toBool(),
                .p2pDevices = numbersOf(object[p2pDevicesKey].toArray())};
    if (!canBeInterface(debts.interfaceName) || !canBeAddress(debts.address) || !debts.any() ||
        debts.p2pDevices.size() > mostP2pDevices) {
        return std::nullopt;
    }
    return debts;
}

} // namespace vantrel
