#include "apps/common/CommandLine.h"

#include <CLI/CLI.hpp>
#include <set>
#include <span>
#include <sstream>
#include <vector>

#include "apps/common/TerminalText.h"

namespace tessel::apps {
namespace {

constexpr int kWrongUsage = 2;
constexpr std::size_t kMaxWordLength = 60;

bool isOption(std::string_view word) { return word.size() > 1 && word.front() == '-'; }

bool isNumber(std::string_view word) { return numberFrom<double>(word).has_value(); }

// As it is typed: "tessel cast".
std::string fullName(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return (parent != nullptr ? fullName(*parent) + " " : std::string{}) + command.get_name();
}

std::vector<const CLI::App*> commandsOf(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App*) { return true; });
}

// "discover, cast and doctor", with the word given before the last.
std::string namesOf(const std::vector<const CLI::App*>& commands, const std::string& joint) {
  std::string names;
  for (const CLI::App* command : commands) {
    if (command != commands.front()) names += command == commands.back() ? joint : ", ";
    names += command->get_name();
  }
  return names;
}

/// Checks the words before CLI11 parses them: CLI11 accepts an option as the value of the one
/// before it, and its messages are not meant for users.
class Inspection {
 public:
  Inspection(const CLI::App& app, std::span<const char* const> words)
      : command_{&app}, words_{words} {}

  /// Throws WrongUsage. Returns how many words count: those after --help and --version do not.
  std::size_t run() {
    bool optionsEnded = false;
    while (taken_ < words_.size() && !answered_) {
      const std::string word = words_[taken_++];
      if (!optionsEnded && word == "--") {
        optionsEnded = true;
      } else if (!optionsEnded && isOption(word)) {
        takeOption(word);
      } else {
        takeWord(word);
      }
    }
    if (const auto commands = commandsOf(*command_); !commands.empty() && !answered_) {
      throw WrongUsage{"A command is missing: " + namesOf(commands, " or ")};
    }
    return taken_;
  }

  /// The command that the words so far have chosen.
  const CLI::App& command() const { return *command_; }

 private:
  void takeOption(const std::string& word) {
    const std::size_t nameEnd = word.find('=');
    const std::string name = word.substr(0, nameEnd);
    const CLI::Option* option = command_->get_option_no_throw(name);
    if (option == nullptr) {
      throw WrongUsage{"There is no option " + quotedWord(name)};
    }
    const bool valueJoined = nameEnd != std::string::npos;
    if (option->get_items_expected_max() == 0) {
      if (valueJoined) throw WrongUsage{name + " takes no value"};
      answered_ = option == command_->get_help_ptr() || option == command_->get_version_ptr();
      return;
    }
    if (!given_.insert(option).second) throw WrongUsage{name + " is given twice"};
    if (valueJoined) return checkValue(name, word.substr(nameEnd + 1));
    if (option->get_items_expected_min() == 0 &&
        (taken_ == words_.size() || isOption(words_[taken_]))) {
      return;
    }
    takeValue(name);
  }

  void takeValue(const std::string& name) {
    if (taken_ == words_.size()) throw WrongUsage{name + " needs a value"};
    const std::string value = words_[taken_++];
    if (isOption(value) && !isNumber(value)) {
      throw WrongUsage{name + " needs a value, and " + quotedWord(value) +
                       " behind it looks like an option (a value like that is joined with =)"};
    }
    checkValue(name, value);
  }

  static void checkValue(const std::string& name, const std::string& value) {
    if (value.empty()) throw WrongUsage{name + " needs a value, not an empty one"};
  }

  void takeWord(const std::string& word) {
    const auto commands = commandsOf(*command_);
    for (const CLI::App* command : commands) {
      if (command->get_name() == word) {
        command_ = command;
        return;
      }
    }
    if (!commands.empty()) {
      throw WrongUsage{"There is no command " + quotedWord(word) + ", only " +
                       namesOf(commands, " and ")};
    }
    const auto places =
        command_->get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (placed_ == places.size()) {
      throw WrongUsage{quotedWord(word) + " is one word too many"};
    }
    checkValue(places[placed_++]->get_name(true), word);
  }

  const CLI::App* command_;
  const std::span<const char* const> words_;
  std::size_t taken_ = 0;
  std::size_t placed_ = 0;
  bool answered_ = false;
  std::set<const CLI::Option*> given_;
};

}  // namespace

std::optional<CommandLineAnswer> parseCommandLine(CLI::App& app, int argc,
                                                  const char* const* argv) {
  Inspection inspection{app, std::span{argv, static_cast<std::size_t>(argc)}.subspan(1)};
  const auto mistake = [&inspection](const std::string& sentence) {
    return CommandLineAnswer{kWrongUsage,
                             sentence + ". See " + fullName(inspection.command()) + " --help.\n"};
  };
  try {
    const std::size_t count = inspection.run();
    app.parse(1 + static_cast<int>(count), argv);
  } catch (const CLI::Success& success) {
    std::ostringstream text;
    app.exit(success, text);
    return CommandLineAnswer{0, text.str()};
  } catch (const CLI::ParseError& error) {
    return mistake(terminalText(error.what(), 4 * kMaxWordLength));
  } catch (const WrongUsage& error) {
    return mistake(error.what());
  }
  return std::nullopt;
}

std::string quotedWord(std::string_view word) {
  return '"' + terminalText(word, kMaxWordLength) + '"';
}

}  // namespace tessel::apps
