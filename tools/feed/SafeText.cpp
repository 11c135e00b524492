#include "feed/SafeText.h"

#include <QChar>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <optional>

namespace vantrel::feed {

namespace {

constexpr char32_t lastAscii = 0x7E;

struct Character {
    std::optional<char32_t> code; // nothing: the byte is not UTF-8
    std::size_t size = 1;         // in bytes
};

// The first character of a text that is not empty; strict, as RFC 3629 has it.
Character firstCharacter(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size) {
        return {};
    }
    char32_t code = lead & (0x7FU >> size);
    for (std::size_t at = 1; at < size; ++at) {
        if ((byte(at) & 0xC0) != 0x80) {
            return {};
        }
        code = code << 6 | (byte(at) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[size] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        return {};
    }
    return {code, size};
}

bool isShowable(char32_t code) {
    switch (QChar::category(code)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default: // the many that are letters, marks, numbers, signs, and the space
        return true;
    }
}

// Runs f(bytes of the character, the character) over the text.
template <typename Function>
void forEachCharacter(std::string_view text, Function f) {
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        f(text.substr(0, character.size), character.code);
        text.remove_prefix(character.size);
    }
}

template <typename... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string jsonEscape(char32_t code) {
    if (code > 0xFFFF) {
        const unsigned high = 0xD800U + static_cast<unsigned>((code - 0x10000) >> 10);
        const unsigned low = 0xDC00U + static_cast<unsigned>((code - 0x10000) & 0x3FF);
        return formatted("\\u%04x\\u%04x", high, low);
    }
    return formatted("\\u%04x", static_cast<unsigned>(code));
}

int columnsOf(char32_t code) {
    const int columns = code <= lastAscii ? 1 : ::wcwidth(static_cast<wchar_t>(code));
    return columns < 0 ? 1 : columns;
}

} // namespace

std::string shownText(std::string_view bytes, Charset charset) {
    std::string text;
    forEachCharacter(bytes, [&](std::string_view character, std::optional<char32_t> code) {
        if (code == U'\\') {
            text += "\\\\";
        } else if (code && isShowable(*code) && (*code <= lastAscii || charset == Charset::Utf8)) {
            text += character;
        } else {
            for (const char byte : character) {
                text += formatted("\\x%02x", static_cast<unsigned>(static_cast<std::uint8_t>(byte)));
            }
        }
    });
    return text;
}

int displayWidth(std::string_view text) {
    int columns = 0;
    forEachCharacter(text, [&](std::string_view, std::optional<char32_t> code) {
        columns += columnsOf(code.value_or(QChar::ReplacementCharacter));
    });
    return columns;
}

std::string fitted(std::string_view text, int columns, Charset charset) {
    const int width = displayWidth(text);
    if (width <= columns) {
        return std::string(text).append(static_cast<std::size_t>(columns - width), ' ');
    }
    if (columns <= 0) {
        return {};
    }
    std::string kept;
    int used = 0;
    bool full = false;
    forEachCharacter(text, [&](std::string_view character, std::optional<char32_t> code) {
        const int wide = columnsOf(code.value_or(QChar::ReplacementCharacter));
        full = full || used + wide > columns - 1;
        if (!full) {
            kept += character;
            used += wide;
        }
    });
    kept += charset == Charset::Utf8 ? "…" : "~";
    return kept.append(static_cast<std::size_t>(columns - used - 1), ' ');
}

std::string jsonString(std::string_view bytes) {
    std::string text = "\"";
    forEachCharacter(bytes, [&](std::string_view character, std::optional<char32_t> code) {
        if (!code) {
            text += "\xEF\xBF\xBD";
        } else if (*code == U'"' || *code == U'\\') {
            text += '\\';
            text += character;
        } else if (isShowable(*code)) {
            text += character;
        } else {
            text += jsonEscape(*code);
        }
    });
    return text + '"';
}

} // namespace vantrel::feed
