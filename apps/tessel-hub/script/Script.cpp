#include "apps/tessel-hub/script/Script.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "apps/tessel-hub/script/CharacterKeys.h"

namespace tessel::hub {
namespace {

using namespace std::chrono_literals;

// A quick hand: well inside the usual double-click time.
constexpr std::chrono::milliseconds kHold = 20ms;
constexpr std::chrono::milliseconds kBetweenClicks = 80ms;
constexpr std::chrono::milliseconds kBetweenKeys = 5ms;
constexpr int kDragSteps = 10;
constexpr int kMaxCoordinate = 65535;
constexpr double kMaxSleepSeconds = 3600;

// One line of a script, parsed from left to right.
class Line {
 public:
  Line(std::string text, int number) : words_{std::move(text)}, number_{number} {}

  [[noreturn]] void fail(const std::string& what) const {
    throw std::runtime_error{"line " + std::to_string(number_) + ": " + what};
  }

  std::optional<std::string> maybeWord() {
    std::string word;
    if (!(words_ >> word) || word.front() == '#') return std::nullopt;
    return word;
  }

  std::string word(const std::string& wanted) {
    const std::optional<std::string> found = maybeWord();
    if (!found) fail(wanted + " is missing");
    return *found;
  }

  // A single '#' is a key.
  std::string rawWord(const std::string& wanted) {
    std::string found;
    if (!(words_ >> found)) fail(wanted + " is missing");
    return found;
  }

  int integer(const std::string& wanted, int least, int most) {
    const std::string text = word(wanted);
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || rest != end || value < least || value > most) {
      fail(wanted + " must be a whole number from " + std::to_string(least) + " to " +
           std::to_string(most) + ", not \"" + text + "\"");
    }
    return value;
  }

  double decimal(const std::string& wanted, double most) {
    const std::string text = word(wanted);
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || rest != end || !(value >= 0) || value > most) {
      fail(wanted + " must be a number from 0 to " + std::to_string(static_cast<long>(most)) +
           ", not \"" + text + "\"");
    }
    return value;
  }

  // The text between double quotes, with the escapes \" \\ \n \t.
  std::string quoted() {
    char c = 0;
    if (!(words_ >> c) || c != '"') fail("a text in double quotes is missing");
    std::string text;
    while (words_.get(c) && c != '"') {
      if (c == '\\') {
        if (!words_.get(c)) break;
        c = c == 'n' ? '\n' : c == 't' ? '\t' : c;
      }
      text += c;
    }
    if (!words_) fail("the text's closing quote is missing");
    return text;
  }

  void end() {
    if (const std::optional<std::string> more = maybeWord()) fail("\"" + *more + "\" is too much");
  }

 private:
  std::istringstream words_;
  int number_;
};

MouseButton buttonOf(Line& line) {
  const std::string name = line.word("the button");
  if (name == "left") return MouseButton::kLeft;
  if (name == "right") return MouseButton::kRight;
  line.fail("a button is left or right, not \"" + name + "\"");
}

void click(std::vector<Step>& steps, MouseButton button) {
  steps.insert(steps.end(),
               {step::Button{button, true}, step::Sleep{kHold}, step::Button{button, false}});
}

void drag(std::vector<Step>& steps, Line& line) {
  const int x1 = line.integer("X1", 0, kMaxCoordinate);
  const int y1 = line.integer("Y1", 0, kMaxCoordinate);
  const int x2 = line.integer("X2", 0, kMaxCoordinate);
  const int y2 = line.integer("Y2", 0, kMaxCoordinate);
  steps.insert(steps.end(), {step::Move{x1, y1}, step::Sleep{kHold},
                             step::Button{MouseButton::kLeft, true}, step::Sleep{kHold}});
  for (int i = 1; i <= kDragSteps; ++i) {
    steps.emplace_back(
        step::Move{x1 + (x2 - x1) * i / kDragSteps, y1 + (y2 - y1) * i / kDragSteps});
    steps.emplace_back(step::Sleep{kHold});
  }
  steps.emplace_back(step::Button{MouseButton::kLeft, false});
}

void press(std::vector<Step>& steps, HubKey key) {
  steps.insert(steps.end(), {step::Key{key, true}, step::Key{key, false}});
}

void key(std::vector<Step>& steps, Line& line, HubKey hubKey) {
  const std::optional<std::string> way = line.maybeWord();
  if (!way) return press(steps, hubKey);
  if (*way != "down" && *way != "up") line.fail("a key goes down or up, not \"" + *way + "\"");
  steps.emplace_back(step::Key{hubKey, *way == "down"});
}

HubKey characterKey(Line& line) {
  const std::string name = line.rawWord("the character");
  if (name.size() == 1) return {.special = false, .code = static_cast<std::int16_t>(name[0])};
  int code = 0;
  const char* end = name.data() + name.size();
  const auto [rest, error] = std::from_chars(name.data(), end, code);
  if (error != std::errc{} || rest != end || code < 0 || code > 127) {
    line.fail("a key is one character or its number up to 127, not \"" + name + "\"");
  }
  return {.special = false, .code = static_cast<std::int16_t>(code)};
}

void text(std::vector<Step>& steps, Line& line) {
  for (const char c : line.quoted()) {
    const std::optional<CharacterKey> typed = keyForCharacter(c);
    if (!typed) line.fail("the text holds a character that no key of the hub types");
    if (typed->shift) steps.emplace_back(step::Key{kShiftKey, true});
    press(steps, typed->key);
    if (typed->shift) steps.emplace_back(step::Key{kShiftKey, false});
    steps.emplace_back(step::Sleep{kBetweenKeys});
  }
}

void mouse(std::vector<Step>& steps, Line& line, const std::string& verb) {
  const MouseButton button = buttonOf(line);
  if (verb == "down" || verb == "up") {
    steps.emplace_back(step::Button{button, verb == "down"});
    return;
  }
  click(steps, button);
  if (verb == "click") return;
  steps.emplace_back(step::Sleep{kBetweenClicks});
  click(steps, button);
}

void take(std::vector<Step>& steps, Line& line, const std::string& verb) {
  if (verb == "move") {
    const int x = line.integer("X", 0, kMaxCoordinate);
    steps.emplace_back(step::Move{x, line.integer("Y", 0, kMaxCoordinate)});
  } else if (verb == "down" || verb == "up" || verb == "click" || verb == "doubleclick") {
    mouse(steps, line, verb);
  } else if (verb == "drag") {
    drag(steps, line);
  } else if (verb == "wheel") {
    steps.emplace_back(step::Wheel{line.integer("the number of lines", -255, 255)});
  } else if (verb == "key") {
    const HubKey hubKey = characterKey(line);
    key(steps, line, hubKey);
  } else if (verb == "special") {
    const int code = line.integer("the special key", 0, 80);
    key(steps, line, {.special = true, .code = static_cast<std::int16_t>(code)});
  } else if (verb == "text") {
    text(steps, line);
  } else if (verb == "sleep") {
    const double seconds = line.decimal("the time", kMaxSleepSeconds);
    steps.emplace_back(step::Sleep{std::chrono::milliseconds{std::lround(seconds * 1000)}});
  } else if (verb == "wait-frame") {
    const int number = line.integer("the frame", 1, 1 << 30);
    steps.emplace_back(step::WaitFrame{static_cast<std::uint64_t>(number)});
  } else if (verb == "quit") {
    steps.emplace_back(step::Quit{});
  } else {
    line.fail("\"" + verb + "\" is not a word of the script language");
  }
  line.end();
}

}  // namespace

Script Script::parse(std::istream& text) {
  Script script;
  int number = 0;
  for (std::string content; std::getline(text, content);) {
    Line line{content, ++number};
    if (const std::optional<std::string> verb = line.maybeWord()) take(script.steps, line, *verb);
  }
  return script;
}

}  // namespace tessel::hub
