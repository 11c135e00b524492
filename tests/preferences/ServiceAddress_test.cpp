#include "ServiceAddress.h"

#include "PreferencesFixture.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"

namespace vantrel::preferences {
namespace {

using V = AddressVerdict;

TEST(ServiceAddress, Verdicts) {
    const std::vector<std::pair<const char*, V>> addresses{{"https://captures.test", V::Good},
                                                           {"https://captures.test:8443/base/", V::Good},
                                                           {"https://[2001:db8::1]/x", V::Good},
                                                           {"HTTPS://captures.test", V::Good},
                                                           {"http://captures.test", V::NotEncrypted},
                                                           {"https://cloudshark.example", V::ReachesNobody},
                                                           {"https://MojoPackets.EXAMPLE/upload", V::ReachesNobody},
                                                           {"https://notexample", V::Good},
                                                           {"", V::Missing},
                                                           {" ", V::NotAnAddress},
                                                           {" https://captures.test", V::NotAnAddress},
                                                           {"https://captures.test\n", V::NotAnAddress},
                                                           {"https://a b", V::NotAnAddress},
                                                           {"https://a.test/\x01", V::NotAnAddress},
                                                           {"a\x01.test", V::NotAnAddress},
                                                           {"https://captures.test:99999", V::NotAnAddress},
                                                           {"https://[::1", V::NotAnAddress},
                                                           {"captures.test", V::NoScheme},
                                                           {"captures.test:8080", V::NoScheme},
                                                           {"//captures.test", V::NoScheme},
                                                           {"mailto:a@captures.test", V::NoScheme},
                                                           {"ftp://captures.test", V::NotWeb},
                                                           {"file:///etc/passwd", V::NotWeb},
                                                           {"javascript://captures.test", V::NotWeb},
                                                           {"https://", V::NoHost},
                                                           {"https:///path", V::NoHost}};
    for (const auto& [address, verdict] : addresses) {
        EXPECT_EQ(addressVerdict(QString::fromUtf8(address)), verdict) << '"' << address << '"';
    }
}

TEST(ServiceAddress, OnlyWhatCannotWorkIsUnusable) {
    for (const auto verdict : {V::Good, V::NotEncrypted, V::ReachesNobody}) {
        EXPECT_TRUE(isUsable(verdict));
    }
    for (const auto verdict : {V::Missing, V::NotAnAddress, V::NoScheme, V::NotWeb, V::NoHost}) {
        EXPECT_FALSE(isUsable(verdict));
        EXPECT_FALSE(verdictText(verdict).isEmpty());
    }
    EXPECT_TRUE(verdictText(V::Good).isEmpty());
}

TEST(ServiceAddress, TheRegisteredDefaultsReachNobody) {
    const auto defaults = registeredDefaults({}, {});
    for (const auto key : {keys::CloudSharkApplianceURL, keys::MojoPacketsServiceURL}) {
        EXPECT_EQ(addressVerdict(defaults.value(key).toString()), V::ReachesNobody);
    }
}

TEST(ServiceAddress, HostileTextsAreJudgedAndNothingElse) {
    for (const auto& [name, text] : hostileTexts()) {
        EXPECT_FALSE(isUsable(addressVerdict(text))) << name;
        EXPECT_FALSE(isUsable(addressVerdict(QStringLiteral("https://") + QString(70'000, u'a') + u' '))) << name;
    }
}

TEST(ServiceAddress, ComponentsAreJoinedWithOneSlash) {
    for (const auto* address : {"https://a.test", "https://a.test/", "https://a.test//"}) {
        EXPECT_EQ(withPathComponent(QString::fromLatin1(address), u"captures"),
                  QStringLiteral("https://a.test/captures"));
    }
    EXPECT_EQ(withPathComponent(QStringLiteral("https://a.test/base/"), u"captures"),
              QStringLiteral("https://a.test/base/captures"));
}

} // namespace
} // namespace vantrel::preferences
