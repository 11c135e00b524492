#include "remote/AvahiAnswers.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(AvahiAnswers, AStateIsASignedNumber) {
    EXPECT_EQ(avahiStateOf({2, QString()}), 2);
    EXPECT_FALSE(avahiStateOf({2U, QString()}));
    EXPECT_FALSE(avahiStateOf({QStringLiteral("2")}));
    EXPECT_FALSE(avahiStateOf({}));
}

TEST(AvahiAnswers, ANameIsATextThatIsNotEmpty) {
    EXPECT_EQ(avahiNameOf({QStringLiteral("host")}), QStringLiteral("host"));
    EXPECT_FALSE(avahiNameOf({QString()}));
    EXPECT_FALSE(avahiNameOf({7}));
    EXPECT_FALSE(avahiNameOf({QByteArray("host")}));
    EXPECT_FALSE(avahiNameOf({}));
}

} // namespace
} // namespace vantrel
