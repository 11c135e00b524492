#include "feed/Security.h"

#include "Cursor.h"

#include <array>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace vantrel::feed {

namespace {

constexpr std::uint32_t ouiIeee = 0x000FAC;
constexpr std::uint32_t ouiMicrosoft = 0x0050F2;
constexpr std::uint32_t ouiWiFiAlliance = 0x506F9A;
constexpr std::uint8_t typeWpa = 1;
constexpr std::uint8_t typeOweTransition = 28;
constexpr std::uint16_t knownVersion = 1;
constexpr std::uint16_t protectionRequiredOrCapable = 0x00C0; // management frame protection, bits 6 and 7

struct Suite {
    std::uint32_t oui = 0;
    std::uint8_t type = 0;
};
struct SuiteElement {
    std::optional<std::vector<Suite>> keyManagement; // nothing where the element ends before the list
    std::uint16_t capabilities = 0;
};

std::optional<std::vector<Suite>> readSuites(Cursor& cursor) {
    const auto count = cursor.takeLe16();
    if (!count) {
        return std::nullopt;
    }
    std::vector<Suite> suites;
    for (unsigned at = 0; at < *count; ++at) {
        const auto oui = cursor.takeBe24();
        const auto type = cursor.take8();
        if (!oui || !type) {
            return std::nullopt;
        }
        suites.push_back({*oui, *type});
    }
    return suites;
}

// An RSN element, or the data of a WPA element: it may end behind any of its fields, but not within one. Nothing when
// it cannot be read.
std::optional<SuiteElement> readSuiteElement(Cursor cursor) {
    constexpr std::size_t suiteSize = 4;
    if (cursor.takeLe16() != knownVersion) {
        return std::nullopt;
    }
    SuiteElement element;
    if (cursor.atEnd()) {
        return element;
    }
    if (!cursor.take(suiteSize)) { // the group cipher
        return std::nullopt;
    }
    if (cursor.atEnd()) {
        return element;
    }
    if (!readSuites(cursor)) { // the pairwise ciphers
        return std::nullopt;
    }
    if (cursor.atEnd()) {
        return element;
    }
    element.keyManagement = readSuites(cursor);
    if (!element.keyManagement) {
        return std::nullopt;
    }
    element.capabilities = cursor.takeLe16().value_or(0);
    return element;
}

void addIeeeSuite(Security& security, std::uint8_t type, bool managementFramesProtected) {
    switch (type) {
    case 1: // 802.1X
    case 3: // FT over 802.1X
        security.wpa2Enterprise = true;
        break;
    case 2:  // PSK
    case 4:  // FT with PSK
    case 6:  // PSK, SHA-256
    case 19: // FT with PSK, SHA-384
    case 20: // PSK, SHA-384
        security.wpa2Personal = true;
        break;
    case 5:  // 802.1X, SHA-256
    case 11: // 802.1X, Suite B
    case 14: // FILS
    case 15:
    case 16: // FT over FILS
    case 17:
    case 22: // FT over 802.1X, SHA-384
    case 23: // 802.1X, SHA-384
        (managementFramesProtected ? security.wpa3Enterprise : security.wpa2Enterprise) = true;
        break;
    case 12: // 802.1X, CNSA suite
    case 13: // FT over 802.1X, CNSA suite
        security.wpa3Enterprise = true;
        break;
    case 8:  // SAE
    case 9:  // FT over SAE
    case 24: // SAE with the group's hash
    case 25: // FT over it
        security.wpa3Personal = true;
        break;
    case 18:
        security.owe = true;
        break;
    default: // the number comes from outside
        security.other = true;
    }
}

void addWpa(Security& security, Cursor cursor) {
    const auto element = readSuiteElement(cursor);
    if (!element) {
        security.other = true;
        return;
    }
    for (const Suite suite : element->keyManagement.value_or(std::vector{Suite{ouiMicrosoft, 1}})) {
        const bool known = suite.oui == ouiMicrosoft && (suite.type == 1 || suite.type == 2);
        (!known ? security.other : suite.type == 1 ? security.wpaEnterprise : security.wpaPersonal) = true;
    }
}

// "WPA", "WPA2" and "WPA3", those that are so, with a slash between.
std::string generations(bool first, bool second, bool third) {
    std::string text;
    for (const auto& [has, name] : {std::pair{first, "WPA"}, std::pair{second, "WPA2"}, std::pair{third, "WPA3"}}) {
        if (has) {
            text += text.empty() ? "" : "/";
            text += name;
        }
    }
    return text;
}

} // namespace

void Security::addRsn(std::span<const std::uint8_t> element) {
    const auto read = readSuiteElement(Cursor(element));
    if (!read) {
        other = true;
        return;
    }
    const bool managementFramesProtected = (read->capabilities & protectionRequiredOrCapable) != 0;
    for (const Suite suite : read->keyManagement.value_or(std::vector{Suite{ouiIeee, 1}})) {
        if (suite.oui == ouiIeee) {
            addIeeeSuite(*this, suite.type, managementFramesProtected);
        } else if (suite.oui == ouiWiFiAlliance && suite.type == 2) {
            dpp = true;
        } else {
            other = true;
        }
    }
}

void Security::addVendor(std::span<const std::uint8_t> element) {
    Cursor cursor(element);
    const auto oui = cursor.takeBe24();
    const auto type = cursor.take8();
    if (oui == ouiMicrosoft && type == typeWpa) {
        addWpa(*this, cursor);
    } else if (oui == ouiWiFiAlliance && type == typeOweTransition) {
        oweTransition = true;
    }
}

std::string securityText(const Security& security) {
    std::vector<std::string> ways;
    ways.push_back(generations(security.wpaPersonal, security.wpa2Personal, security.wpa3Personal));
    ways.push_back(generations(security.wpaEnterprise, security.wpa2Enterprise, security.wpa3Enterprise));
    ways.back() += ways.back().empty() ? "" : "-Enterprise";
    ways.emplace_back(security.owe ? "OWE" : "");
    ways.emplace_back(security.dpp ? "DPP" : "");
    ways.emplace_back(security.other ? "Other" : "");
    std::string text;
    for (const std::string& way : ways) {
        text += text.empty() || way.empty() ? "" : ", ";
        text += way;
    }
    if (!text.empty()) {
        return text;
    }
    if (security.privacy) {
        return "WEP";
    }
    return security.oweTransition ? "Open/OWE" : "Open";
}

} // namespace vantrel::feed
