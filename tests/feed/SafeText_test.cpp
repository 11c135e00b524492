#include "feed/SafeText.h"

#include <gtest/gtest.h>
#include <random>

namespace vantrel::feed {
namespace {

using namespace std::string_literals;

std::string shown(std::string_view bytes) { return shownText(bytes, Charset::Utf8); }

TEST(SafeText, ordinaryTextStaysAsItIs) {
    EXPECT_EQ(shown("Cafe \"5\" ~"), "Cafe \"5\" ~");
    EXPECT_EQ(shown("Café 咖啡 \U0001F600"), "Café 咖啡 \U0001F600");
    EXPECT_EQ(shown(""), "");
}

TEST(SafeText, nothingThatDrivesATerminalGetsThrough) {
    EXPECT_EQ(shown("\x1b[2J\x1b]0;title\x07"), "\\x1b[2J\\x1b]0;title\\x07");
    EXPECT_EQ(shown("a\r\nb\tc\x7f"), "a\\x0d\\x0ab\\x09c\\x7f");
    EXPECT_EQ(shown("\0a"s), "\\x00a");
    EXPECT_EQ(shown("\xc2\x9b"
                    "31m"),
              "\\xc2\\x9b31m"); // U+009B, the one-character CSI
    EXPECT_EQ(shown("\x9b"
                    "31m"),
              "\\x9b31m");                                        // and its single byte
    EXPECT_EQ(shown("\xe2\x80\xaegnp"), "\\xe2\\x80\\xaegnp");    // U+202E turns the direction of writing
    EXPECT_EQ(shown("\xe2\x80\xa8"), "\\xe2\\x80\\xa8");          // U+2028, a line separator
    EXPECT_EQ(shown("\xe2\x80\x8b"), "\\xe2\\x80\\x8b");          // U+200B has no width
    EXPECT_EQ(shown("\xee\x80\x80"), "\\xee\\x80\\x80");          // U+E000, private
    EXPECT_EQ(shown("\xf3\xa0\x81\x81"), "\\xf3\\xa0\\x81\\x81"); // U+E0041, a tag
}

TEST(SafeText, aBackslashCannotPassForAnEscape) { EXPECT_EQ(shown("\\x1b"), "\\\\x1b"); }

TEST(SafeText, whatIsNotUtf8StandsByItsBytes) {
    EXPECT_EQ(shown("\xff"), "\\xff");
    EXPECT_EQ(shown("Caf\xe9"), "Caf\\xe9");
    EXPECT_EQ(shown("\xc3"), "\\xc3");
    EXPECT_EQ(shown("\xc0\xaf"), "\\xc0\\xaf");          // too long for what it says
    EXPECT_EQ(shown("\xe0\x9f\xbf"), "\\xe0\\x9f\\xbf"); // too long
    EXPECT_EQ(shown("\xf0\x8f\xbf\xbf"), "\\xf0\\x8f\\xbf\\xbf");
    EXPECT_EQ(shown("\xed\xa0\x80"), "\\xed\\xa0\\x80");          // a surrogate
    EXPECT_EQ(shown("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // beyond the last
    EXPECT_EQ(shown("\xe2\x82"
                    "A"),
              "\\xe2\\x82A");
}

TEST(SafeText, anAsciiTerminalGetsAscii) {
    EXPECT_EQ(shownText("Café", Charset::Ascii), "Caf\\xc3\\xa9");
    EXPECT_EQ(fitted("abcdef", 4, Charset::Ascii), "abc~");
}

TEST(SafeText, anyBytesBecomeText) {
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same bytes in every run
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(random() % 32, ' ');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        for (const std::string& text : {shown(bytes), jsonString(bytes)}) {
            for (const char byte : text) {
                ASSERT_TRUE(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F) << text;
            }
            ASSERT_EQ(text.find("\xc2\x9b"), std::string::npos);
        }
        const int width = displayWidth(shown(bytes));
        for (const int columns : {0, 1, 5, width, 40}) {
            ASSERT_EQ(displayWidth(fitted(shown(bytes), columns, Charset::Utf8)), columns);
        }
    }
}

TEST(SafeText, widthIsThatOfTheTerminal) {
    EXPECT_EQ(displayWidth("abc"), 3);
    EXPECT_EQ(displayWidth("咖啡"), 4);
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1); // with a combining accent
}

TEST(SafeText, isFilledUpOrCut) {
    const auto fit = [](std::string_view text, int columns) { return fitted(text, columns, Charset::Utf8); };
    EXPECT_EQ(fit("abc", 5), "abc  ");
    EXPECT_EQ(fit("abc", 3), "abc");
    EXPECT_EQ(fit("abcd", 3), "ab…");
    EXPECT_EQ(fit("咖啡", 3), "咖…");
    EXPECT_EQ(fit("咖啡", 2), "… ");
    EXPECT_EQ(fit("咖啡啡", 4), "咖… ");
    EXPECT_EQ(fit("abc", 0), "");
}

TEST(SafeText, jsonStrings) {
    EXPECT_EQ(jsonString("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(jsonString("\x1b\n\x7f"), R"("\u001b\u000a\u007f")");
    EXPECT_EQ(jsonString("\xc2\x9b"), R"("\u009b")");
    EXPECT_EQ(jsonString("\xf3\xa0\x81\x81"), R"("\udb40\udc41")");
    EXPECT_EQ(jsonString("\xed\xa0\x80"), "\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""); // a surrogate alone
    EXPECT_EQ(jsonString("Café"), "\"Café\"");
    EXPECT_EQ(jsonString("\xff"), "\"\xef\xbf\xbd\"");
}

} // namespace
} // namespace vantrel::feed
