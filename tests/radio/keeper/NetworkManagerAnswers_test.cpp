#include "keeper/NetworkManagerAnswers.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

QVariantList variantOf(const QVariant& value) { return {QVariant::fromValue(QDBusVariant(value))}; }

TEST(NetworkManagerAnswers, ADeviceIsAnObjectPath) {
    const QString path = QStringLiteral("/org/freedesktop/NetworkManager/Devices/2");
    EXPECT_EQ(devicePathOf({QVariant::fromValue(QDBusObjectPath(path))}), path);
    for (const QVariantList& other :
         {QVariantList(), QVariantList{path}, QVariantList{QVariant::fromValue(QDBusObjectPath())}, variantOf(path)}) {
        const auto refused = devicePathOf(other);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().text(), QStringLiteral("GetDeviceByIpIface: the answer is no object path"));
    }
}

// An adapter that was taken for one that nobody manages would never be handed back.
TEST(NetworkManagerAnswers, WhatIsNoTruthValueIsNotTakenForNo) {
    EXPECT_EQ(managedOf(variantOf(true)), true);
    EXPECT_EQ(managedOf(variantOf(false)), false);
    for (const QVariantList& other : {QVariantList(), QVariantList{true}, variantOf({}), variantOf(1),
                                      variantOf(QStringLiteral("true")), variantOf(variantOf(true).first())}) {
        const auto refused = managedOf(other);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().text(), QStringLiteral("Device.Managed: the answer is no truth value"));
    }
}

} // namespace
} // namespace vantrel
