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

/// A mistake in a command line: a plain sentence without its full stop. What parses an option, and
/// a command's callback, may throw it.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Parses the command line; none where the program can run. An option that takes a value gets one,
/// not the next option and not an empty one, and is given once. Help and version are answered with
/// exit code 0; every mistake with code 2 and one line that says what is wrong and where help is.
std::optional<CommandLineAnswer> parseCommandLine(CLI::App& app, int argc, const char* const* argv);

/// A word of the user's in quotes, to stand in a sentence: safe to show, on one line and not long.
std::string quotedWord(std::string_view word);

/// The decimal number that `text` is from its first to its last character, if it is one.
template <typename Number>
std::optional<Number> numberFrom(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

}  // namespace tessel::apps
