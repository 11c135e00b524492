// What a network asks of who joins it, as its beacons tell.
//
// Format: IEEE Std 802.11-2020, 9.4.2.24 (RSN element; its tables 9-149 and 9-151 number the suites), and the WPA and
// OWE transition elements of the Wi-Fi Alliance (vendor-specific elements 00-50-F2 type 1 and 50-6F-9A type 28). Pure
// functions, for any thread; they read nothing outside the bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vantrel::feed {

struct Security {
    bool privacy = false; // the capability bit: frames are encrypted in some way
    bool wpaPersonal = false;
    bool wpa2Personal = false;
    bool wpa3Personal = false;
    bool wpaEnterprise = false;
    bool wpa2Enterprise = false;
    bool wpa3Enterprise = false;
    bool owe = false;
    bool oweTransition = false; // an open network that points to its encrypted twin
    bool dpp = false;
    bool other = false; // an element that says so, but cannot be read or names nothing known

    // What stands in an RSN element, and in a vendor-specific one (from its OUI on). An element without a list of key
    // management suites means 802.1X, as the standard has it.
    void addRsn(std::span<const std::uint8_t> element);
    void addVendor(std::span<const std::uint8_t> element);

    friend bool operator==(const Security&, const Security&) = default;
};

// "Open", "WEP", "WPA2", "WPA2/WPA3", "WPA2-Enterprise", "OWE", "Open/OWE", "Other" and their like, ", " between ways
// of different kinds.
[[nodiscard]] std::string securityText(const Security& security);

} // namespace vantrel::feed
