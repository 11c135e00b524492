#include "feed/ServiceAnswers.h"

#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

const QVariantList item{1, 0, QStringLiteral("feed"), QStringLiteral("_vantrel._tcp"), QStringLiteral("local"), 0U};

QVariantList resolved(const QVariant& port) {
    QVariantList answer = item.first(5);
    answer << QStringLiteral("host.local") << 0 << QStringLiteral("127.0.0.1") << port;
    return answer;
}

TEST(ServiceAnswers, AnItemTellsItsPlace) {
    const auto read = serviceItemOf(item);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->interface, 1);
    EXPECT_EQ(read->protocol, 0);
    EXPECT_EQ(read->name, QStringLiteral("feed"));
    EXPECT_EQ(read->type, QStringLiteral("_vantrel._tcp"));
    EXPECT_EQ(read->domain, QStringLiteral("local"));
}

TEST(ServiceAnswers, AnItemOfAnotherSignatureIsNone) {
    for (qsizetype place = 0; place < 5; ++place) {
        QVariantList other = item;
        other[place] = QByteArray("feed");
        EXPECT_FALSE(serviceItemOf(other)) << place;
        EXPECT_FALSE(serviceItemOf(item.first(place))) << place;
    }
}

TEST(ServiceAnswers, APortIsANumberOfSixteenBitsAndNotZero) {
    EXPECT_EQ(servicePortOf(resolved(QVariant::fromValue(ushort{5555}))), 5555);
    EXPECT_FALSE(servicePortOf(resolved(QVariant::fromValue(ushort{0}))));
    EXPECT_FALSE(servicePortOf(resolved(5555)));
    EXPECT_FALSE(servicePortOf(resolved(QStringLiteral("5555"))));
    EXPECT_FALSE(servicePortOf(item));
}

} // namespace
} // namespace vantrel::feed
