// Text from the air, made safe to print.
//
// The name of a network is any 32 bytes that whoever made it liked to put there, also those that move a terminal's
// cursor, set its title, or turn the direction of writing. Nothing that these functions answer holds a control or
// format character. Any thread; the widths are those of the process's locale.
#pragma once

#include <string>
#include <string_view>

namespace vantrel::feed {

// What the terminal, or the file, can show.
enum class Charset { Ascii, Utf8 };

// The bytes as text: UTF-8 where they are, and where the charset has it. Every byte of a control, format, private or
// unassigned character, and every byte that is not UTF-8, stands as \xNN, and a backslash as two.
[[nodiscard]] std::string shownText(std::string_view bytes, Charset charset);

// The columns that such a text takes in a terminal.
[[nodiscard]] int displayWidth(std::string_view text);

// The text in exactly so many columns: filled up with spaces, or cut, the last column then telling so ("…", or "~").
[[nodiscard]] std::string fitted(std::string_view text, int columns, Charset charset);

// The bytes as a JSON string (RFC 8259) with its quotation marks: U+FFFD stands for what is not UTF-8, and \uNNNN for
// what shownText() escapes.
[[nodiscard]] std::string jsonString(std::string_view bytes);

} // namespace vantrel::feed
