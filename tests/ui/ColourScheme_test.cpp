#include "ui/ColourScheme.h"

#include <QByteArray>
#include <QDBusVariant>
#include <QStringList>
#include <gtest/gtest.h>

namespace vantrel::ui {
namespace {

QVariant within(const QVariant& value) { return QVariant::fromValue(QDBusVariant(value)); }

TEST(ColourScheme, IsANumberInAVariantOrTwo) {
    EXPECT_EQ(schemeOf(1U), ColourScheme::PrefersDark);
    EXPECT_EQ(schemeOf(within(2U)), ColourScheme::PrefersLight);
    EXPECT_EQ(schemeOf(within(within(1U))), ColourScheme::PrefersDark);
}

TEST(ColourScheme, AnythingElseIsNoPreference) {
    for (const QVariant& other :
         {QVariant(), QVariant(0U), QVariant(7U), QVariant(QStringLiteral("1")), QVariant(true),
          QVariant(QByteArray("1")), within(QStringList(QStringLiteral("1"))), within(within(within(1U)))}) {
        EXPECT_EQ(schemeOf(other), ColourScheme::NoPreference) << other.typeName();
        EXPECT_EQ(schemeOf(within(other)), ColourScheme::NoPreference) << other.typeName();
    }
}

TEST(ColourScheme, OnlyItsOwnSettingChangesIt) {
    const QString space = appearance;
    const QString key = colorScheme;
    EXPECT_EQ(changedScheme({space, key, within(1U)}), ColourScheme::PrefersDark);
    EXPECT_EQ(changedScheme({space, key, within(QStringLiteral("1"))}), ColourScheme::NoPreference);
    EXPECT_FALSE(changedScheme({space, QStringLiteral("contrast"), within(1U)}));
    EXPECT_FALSE(changedScheme({key, key, within(1U)}));
    EXPECT_FALSE(changedScheme({space.toUtf8(), key, within(1U)}));
    EXPECT_FALSE(changedScheme({space, key}));
    EXPECT_FALSE(changedScheme({space, key, within(1U), 0}));
    EXPECT_FALSE(changedScheme({}));
}

} // namespace
} // namespace vantrel::ui
