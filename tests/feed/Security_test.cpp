#include "BeaconBytes.h"
#include "feed/Security.h"

#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace testing;

constexpr std::uint8_t capable = 0x80;
constexpr std::uint8_t required = 0xC0;

std::string ofRsn(const Bytes& element) {
    Security security;
    security.privacy = true;
    security.addRsn(Exact(element).span());
    return securityText(security);
}
std::string ofVendor(const Bytes& element, bool privacy) {
    Security security;
    security.privacy = privacy;
    security.addVendor(Exact(element).span());
    return securityText(security);
}

TEST(Security, withoutElements) {
    EXPECT_EQ(securityText({}), "Open");
    Security security;
    security.privacy = true;
    EXPECT_EQ(securityText(security), "WEP");
}

TEST(Security, personal) {
    for (const std::uint8_t type : Bytes{2, 4, 6, 19, 20}) {
        EXPECT_EQ(ofRsn(rsn({type})), "WPA2") << int(type);
    }
    for (const std::uint8_t type : Bytes{8, 9, 24, 25}) {
        EXPECT_EQ(ofRsn(rsn({type}, required)), "WPA3") << int(type);
    }
    EXPECT_EQ(ofRsn(rsn({2, 8}, capable)), "WPA2/WPA3");
}

TEST(Security, enterprise) {
    EXPECT_EQ(ofRsn(rsn({1})), "WPA2-Enterprise");
    EXPECT_EQ(ofRsn(rsn({3})), "WPA2-Enterprise");
    EXPECT_EQ(ofRsn(rsn({1}, required)), "WPA2-Enterprise");
    for (const std::uint8_t type : Bytes{5, 11, 14, 15, 16, 17, 22, 23}) {
        EXPECT_EQ(ofRsn(rsn({type}, required)), "WPA3-Enterprise") << int(type);
        EXPECT_EQ(ofRsn(rsn({type})), "WPA2-Enterprise") << int(type);
    }
    EXPECT_EQ(ofRsn(rsn({1, 5}, capable)), "WPA2/WPA3-Enterprise");
    EXPECT_EQ(ofRsn(rsn({12})), "WPA3-Enterprise");
    EXPECT_EQ(ofRsn(rsn({13})), "WPA3-Enterprise");
    EXPECT_EQ(ofRsn(rsn({1, 2})), "WPA2, WPA2-Enterprise");
}

TEST(Security, others) {
    EXPECT_EQ(ofRsn(rsn({18}, required)), "OWE");
    EXPECT_EQ(ofRsn(rsn({7})), "Other");
    EXPECT_EQ(ofRsn(rsn({2, 99})), "WPA2, Other");
    Bytes dpp = rsn({2});
    dpp[14] = 0x50;
    dpp[15] = 0x6F;
    dpp[16] = 0x9A;
    EXPECT_EQ(ofRsn(dpp), "DPP");
    dpp[14] = 0x51;
    EXPECT_EQ(ofRsn(dpp), "Other");
}

TEST(Security, vendorElements) {
    EXPECT_EQ(ofVendor(wpa(2), true), "WPA");
    EXPECT_EQ(ofVendor(wpa(1), true), "WPA-Enterprise");
    EXPECT_EQ(ofVendor(wpa(3), true), "Other");
    EXPECT_EQ(ofVendor({0x50, 0x6F, 0x9A, 28, 1, 2, 3}, false), "Open/OWE");
    EXPECT_EQ(ofVendor({0, 0x50, 0xF2, 2, 1, 1}, false), "Open"); // WMM
    EXPECT_EQ(ofVendor({0, 0x50, 0xF2, 4, 1, 1}, true), "WEP");   // WPS
    EXPECT_EQ(ofVendor({0, 0x50, 0xF2}, false), "Open");
    EXPECT_EQ(ofVendor({}, false), "Open");
    Security both;
    both.addRsn(rsn({2}));
    both.addVendor(wpa(2));
    EXPECT_EQ(securityText(both), "WPA/WPA2");
}

// Behind which fields the element may end, and what it means then.
TEST(Security, shortElements) {
    const Bytes whole = rsn({8}, required);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string text = ofRsn(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        const bool behindAField = size == 2 || size == 6 || size == 12;
        EXPECT_EQ(text, behindAField ? "WPA2-Enterprise" : size >= 18 ? "WPA3" : "Other") << size;
    }
    EXPECT_EQ(ofVendor({0, 0x50, 0xF2, 1}, true), "Other");
    EXPECT_EQ(ofVendor({0, 0x50, 0xF2, 1, 1, 0}, true), "WPA-Enterprise");
}

TEST(Security, countsBeyondTheElement) {
    Bytes pairwise = rsn({2});
    pairwise[6] = pairwise[7] = 0xFF;
    EXPECT_EQ(ofRsn(pairwise), "Other");
    Bytes keyManagement = rsn({2});
    keyManagement[12] = 200;
    EXPECT_EQ(ofRsn(keyManagement), "Other");
    Bytes version = rsn({2});
    version[0] = 2;
    EXPECT_EQ(ofRsn(version), "Other");
}

} // namespace
} // namespace vantrel::feed
