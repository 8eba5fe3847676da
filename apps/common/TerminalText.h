#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessel::apps {

/// Text of somebody else made safe to show: what a terminal would interpret (control characters,
/// marks that turn the direction of writing, bytes that are no UTF-8) is shown as an escape such
/// as \x1b, and after `most` characters the text is cut, its end marked by "...".
std::string terminalText(std::string_view text, std::size_t most);

/// The text cut in the same way, nothing escaped. For output that has escapes of its own.
std::string cutText(std::string_view text, std::size_t most);

/// How many characters (code points) valid UTF-8 text has.
std::size_t characterCount(std::string_view text);

}  // namespace tessel::apps
