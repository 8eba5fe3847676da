#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::apps {

/// Foreign text made safe to show. What a terminal would interpret (control characters, marks of
/// writing direction, bytes that are not UTF-8) becomes an escape such as \x1b. After `maxLength`
/// columns, or as many characters, the text is cut and "..." appended.
std::string terminalText(std::string_view text, std::size_t maxLength);

/// The text, cut after `maxLength` characters in the same way but not escaped: for output with
/// escapes of its own.
std::string cutText(std::string_view text, std::size_t maxLength);

/// The columns that safe text takes on a terminal.
std::size_t columnCount(std::string_view text);

/// The words of a text in lines of at most `columns`; a longer word gets a line of its own.
std::vector<std::string> wrapped(const std::string& text, std::size_t columns);

}  // namespace tessel::apps
