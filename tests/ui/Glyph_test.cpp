#include "Glyph.h"

#include <QImage>
#include <QPixmap>
#include <gtest/gtest.h>
#include <set>

namespace vantrel::ui {
namespace {

constexpr int sizes[] = {22, 24, 44, 48};

QImage picture(const QIcon& icon, int size) {
    return icon.pixmap(QSize(size, size), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
}

QIcon withMarks(const char* large, const char* small, GlyphState state = GlyphState::Idle) {
    return statusIcon(state, {.large = QString::fromUtf8(large), .small = QString::fromUtf8(small)}, Qt::black);
}

bool anyDrawn(const QImage& image, const QRect& part) {
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (image.pixelColor(x, y).alpha() > 0) {
                return true;
            }
        }
    }
    return false;
}

TEST(Glyph, WithoutMarksTheGlyphStandsAlone) {
    for (const int size : sizes) {
        EXPECT_EQ(picture(withMarks("", ""), size), picture(glyphIcon(GlyphState::Idle, Qt::black), size));
    }
}

TEST(Glyph, TitledIconsHaveEverySizeAndTheColourGiven) {
    const QIcon icon =
        statusIcon(GlyphState::Idle, {.large = QStringLiteral("36"), .small = QStringLiteral("80")}, Qt::white);
    for (const int size : sizes) {
        const QImage image = picture(icon, size);
        ASSERT_EQ(image.size(), QSize(size, size));
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                if (image.pixelColor(x, y).alpha() > 200) {
                    ASSERT_GT(image.pixelColor(x, y).lightness(), 240) << x << ',' << y;
                }
            }
        }
    }
}

TEST(Glyph, DigitsAreDrawnOnWholePixels) {
    const QImage image = picture(withMarks("8", ""), 22);
    // The two pixels of its stroke at the left, a hole of four, and the bar in the middle.
    for (const int x : {7, 8, 13, 14}) {
        EXPECT_EQ(image.pixelColor(x, 13).alpha(), 255) << x;
    }
    for (const int x : {6, 9, 10, 11, 12, 15}) {
        EXPECT_EQ(image.pixelColor(x, 13).alpha(), 0) << x;
    }
    EXPECT_EQ(image.pixelColor(11, 15).alpha(), 255);
    EXPECT_EQ(image.pixelColor(11, 16).alpha(), 255);
    EXPECT_EQ(image.pixelColor(11, 14).alpha(), 0);
    EXPECT_EQ(image.pixelColor(11, 17).alpha(), 0);
}

TEST(Glyph, EveryTitleHasItsOwnPicture) {
    const std::pair<const char*, const char*> titles[] = {
        {"0", ""},   {"1", ""},    {"2", ""},    {"3", ""},  {"4", ""},     {"5", ""},
        {"6", ""},   {"7", ""},    {"8", ""},    {"9", ""},  {"-1", ""},    {"Off", ""},
        {"37%", ""}, {"36", "80"}, {"36", "20"}, {"36", ""}, {"40", "MHz"}, {"161", "160"}};
    for (const auto& one : titles) {
        for (const auto& other : titles) {
            if (&one != &other) {
                EXPECT_NE(picture(withMarks(one.first, one.second), 22),
                          picture(withMarks(other.first, other.second), 22))
                    << one.first << one.second << " and " << other.first << other.second;
            }
        }
    }
}

TEST(Glyph, EveryCharacterOfATitleIsDrawn) {
    for (const char character : std::string("0123456789-Of%MHz")) {
        const QImage image = picture(withMarks(std::string(1, character).c_str(), ""), 22);
        EXPECT_TRUE(anyDrawn(image, QRect(0, 10, 22, 12))) << character;
    }
    EXPECT_FALSE(anyDrawn(picture(withMarks("?", ""), 22), QRect(0, 10, 22, 12))) << "others leave a blank";
}

TEST(Glyph, ThreeDigitsFitBesideEachOther) {
    const QImage image = picture(withMarks("888", "888"), 22);
    for (const int gap : {6, 7, 14, 15}) {
        EXPECT_FALSE(anyDrawn(image, QRect(gap, 10, 1, 12))) << gap;
    }
    EXPECT_TRUE(anyDrawn(image, QRect(0, 10, 1, 12)));
    EXPECT_TRUE(anyDrawn(image, QRect(21, 10, 1, 12)));
    EXPECT_FALSE(anyDrawn(image, QRect(0, 9, 22, 1))) << "the rows stay apart";
}

TEST(Glyph, CaptureIsMarkedByAnotherPictureAboveTheTitle) {
    const QImage idle = picture(withMarks("36", "80"), 22);
    const QImage capturing = picture(withMarks("36", "80", GlyphState::Capturing), 22);
    EXPECT_NE(idle, capturing);
    EXPECT_EQ(idle.copy(0, 10, 22, 12), capturing.copy(0, 10, 22, 12));
    const QColor mark = capturing.pixelColor(5, 4);
    EXPECT_GT(mark.red(), mark.green() + 60);
}

QIcon kept(StatusIcons& icons, int channel, GlyphState state = GlyphState::Capturing, QColor colour = Qt::black) {
    return icons.icon(state, {.large = QString::number(channel), .small = QStringLiteral("20")}, colour);
}

TEST(StatusIcons, AreTheSameAsThoseDrawnAnew) {
    StatusIcons icons;
    for (const GlyphState state : {GlyphState::Idle, GlyphState::Capturing}) {
        const QIcon drawn = withMarks("36", "20", state);
        for (const int size : sizes) {
            EXPECT_EQ(picture(kept(icons, 36, state), size), picture(drawn, size));
        }
    }
}

TEST(StatusIcons, EachPictureIsDrawnOnce) {
    StatusIcons icons;
    std::set<qint64> drawn;
    for (int round = 0; round < 3; ++round) {
        for (int channel = 1; channel <= 40; ++channel) {
            drawn.insert(kept(icons, channel).cacheKey());
        }
    }
    EXPECT_EQ(drawn.size(), 40U);
}

TEST(StatusIcons, StateTitleAndColourMakeAnother) {
    StatusIcons icons;
    const std::set<qint64> drawn = {
        kept(icons, 1).cacheKey(), kept(icons, 2).cacheKey(), kept(icons, 1, GlyphState::Idle).cacheKey(),
        kept(icons, 1, GlyphState::Capturing, Qt::white).cacheKey(),
        icons.icon(GlyphState::Capturing, {.large = QStringLiteral("1"), .small = {}}, Qt::black).cacheKey()};
    EXPECT_EQ(drawn.size(), 5U);
}

TEST(StatusIcons, NoMoreAreKeptThanTheMost) {
    StatusIcons icons;
    const qint64 first = kept(icons, 0).cacheKey();
    for (int channel = 1; channel < StatusIcons::most; ++channel) {
        static_cast<void>(kept(icons, channel));
    }
    EXPECT_EQ(kept(icons, 0).cacheKey(), first);
    static_cast<void>(kept(icons, static_cast<int>(StatusIcons::most)));
    EXPECT_NE(kept(icons, 0).cacheKey(), first);
}

} // namespace
} // namespace vantrel::ui
