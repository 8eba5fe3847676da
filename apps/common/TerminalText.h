#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::apps {

/// Text of somebody else made safe to show: what a terminal would interpret (control characters,
/// marks that turn the direction of writing, bytes that are no UTF-8) is shown as an escape such
/// as \x1b, and after `most` columns, or as many characters, the text is cut, its end marked by
/// "...".
std::string terminalText(std::string_view text, std::size_t most);

/// The text cut after `most` characters in the same way, nothing escaped. For output that has
/// escapes of its own.
std::string cutText(std::string_view text, std::size_t most);

/// How many columns a terminal needs for text that is safe to show.
std::size_t columnCount(std::string_view text);

/// The words of a text, in lines of at most `columns`; a longer word has a line of its own.
std::vector<std::string> wrapped(const std::string& text, std::size_t columns);

}  // namespace tessel::apps
