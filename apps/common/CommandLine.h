#pragma once

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace CLI {
class App;
}

namespace tessel::apps {

/// What to do instead of running: print `text` and end with `exitCode`.
struct CommandLineAnswer {
  int exitCode = 0;
  std::string text;
};

/// A mistake in a command line: a plain sentence without its full stop. Thrown by the parsers of
/// options and by the callbacks of commands.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Parses the command line; none if the program can run. An option that takes a value is given
/// once, with a value that is neither empty nor the next option. The answer to help and version has
/// exit code 0; to a mistake code 2, and one line that says what is wrong and where to find help.
std::optional<CommandLineAnswer> parseCommandLine(CLI::App& app, int argc, const char* const* argv);

/// A word of the user's in quotes for use in a sentence: safe to show, on one line, and cut.
std::string quotedWord(std::string_view word);

/// The decimal number that all of `text` is; none if it is not a number.
template <typename Number>
std::optional<Number> numberFrom(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

}  // namespace tessel::apps
