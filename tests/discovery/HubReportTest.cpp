#include <algorithm>
#include <cctype>
#include <gmock/gmock.h>
#include <sstream>

#include "apps/common/JsonLine.h"
#include "apps/common/TerminalText.h"
#include "apps/tessel/HubReport.h"

namespace tessel::apps {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const Date kNow{std::chrono::hours{24 * 365 * 50}};

Hub hub(std::optional<std::string> name = std::nullopt, std::optional<int> rssi = -52) {
  return {"192.168.1.100", std::move(name), rssi, kNow};
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

TEST(TerminalTextTest, PlainTextStaysAsItIs) {
  EXPECT_EQ(terminalText("Room 1 \xC3\xA9\xE4\xB8\xAD\xF0\x9F\x93\xBA", 20),
            "Room 1 \xC3\xA9\xE4\xB8\xAD\xF0\x9F\x93\xBA");
}

TEST(TerminalTextTest, ControlCharactersAreEscaped) {
  EXPECT_EQ(terminalText("\x1B[2J\a\n\x7F", 20), "\\x1b[2J\\x07\\x0a\\x7f");
  EXPECT_EQ(terminalText("\xC2\x9B", 20), "\\x9b");  // the one-character form of ESC [
  EXPECT_EQ(terminalText(std::string_view{"a\0b", 3}, 20), "a\\x00b");
}

TEST(TerminalTextTest, MarksThatTurnTheDirectionAreEscaped) {
  EXPECT_EQ(terminalText("\xE2\x80\xAE"
                         "abc",
                         20),
            "\\u{202e}abc");
}

TEST(TerminalTextTest, BytesThatAreNoUTF8AreEscaped) {
  EXPECT_EQ(terminalText("\xFF\x80", 20), "\\xff\\x80");
  EXPECT_EQ(terminalText("\xC0\xAF", 20), "\\xc0\\xaf");                    // overlong
  EXPECT_EQ(terminalText("\xED\xA0\x80", 20), "\\xed\\xa0\\x80");           // surrogate
  EXPECT_EQ(terminalText("\xF4\x90\x80\x80", 20), "\\xf4\\x90\\x80\\x80");  // beyond the last
  EXPECT_EQ(terminalText("a\xE4\xB8", 20), "a\\xe4\\xb8");                  // cut short
}

TEST(TerminalTextTest, LongTextIsCut) {
  EXPECT_EQ(terminalText("abcdef", 6), "abcdef");
  EXPECT_EQ(terminalText("abcdefg", 6), "abcdef...");
  EXPECT_EQ(terminalText(std::string(std::size_t{1} << 20, 'x'), 4), "xxxx...");
  EXPECT_EQ(cutText("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9\xC3\xA9...");
}

TEST(TerminalTextTest, WhatIsShownIsCutByItsColumns) {
  EXPECT_EQ(terminalText(repeated("\xE2\x80\xAE", 40), 20), "\\u{202e}\\u{202e}...");
  EXPECT_EQ(terminalText(repeated("\xE4\xB8\xAD", 40), 5), "\xE4\xB8\xAD\xE4\xB8\xAD...");
  EXPECT_EQ(terminalText("e\xCC\x81"
                         "te\xCC\x81",
                         5),
            "e\xCC\x81"
            "te\xCC\x81");
  // Accents without end are an end all the same.
  EXPECT_EQ(terminalText("Z" + repeated("\xCC\x81", 40), 3), "Z\xCC\x81\xCC\x81...");
}

TEST(TerminalTextTest, ColumnsAreCountedAsATerminalDrawsThem) {
  EXPECT_EQ(columnCount("Room \xC3\xA9"), 6U);
  EXPECT_EQ(columnCount("\xE4\xB8\xAD\xF0\x9F\x93\xBA"), 4U);
  EXPECT_EQ(columnCount("Ze\xCC\x81\xCC\x81"), 2U);
}

TEST(TerminalTextTest, SentencesAreWrappedBetweenWords) {
  EXPECT_THAT(wrapped("No hub is here, none at all.", 10),
              ElementsAre("No hub is", "here, none", "at all."));
  EXPECT_THAT(wrapped("an unbreakable word", 5), ElementsAre("an", "unbreakable", "word"));
  EXPECT_THAT(wrapped("", 5), testing::IsEmpty());
}

TEST(JsonLineTest, MembersComeInTheOrderAdded) {
  JsonLine line{"hub"};
  line.add("name", "Room \"1\"").add("rssi", -52).add("other", std::optional<int>{});
  EXPECT_EQ(line.text(), R"({"event":"hub","name":"Room \"1\"","rssi":-52,"other":null})");
}

TEST(JsonLineTest, NothingButPrintableASCIIIsWritten) {
  JsonLine line{"hub"};
  line.add("name", "\x1B\x7F\xC2\x9B\xFF");
  EXPECT_EQ(line.text(), R"({"event":"hub","name":"\u001b\u007f\u009b\ufffd"})");
}

class HubReportTest : public testing::Test {
 protected:
  std::string take() {
    std::string text = out.str();
    out.str("");
    return text;
  }
  // The lines of a table, without what moves the cursor.
  std::vector<std::string> drawn() {
    std::string text = take();
    std::erase(text, '\r');
    for (std::size_t at = 0; (at = text.find("\x1b[")) != std::string::npos;) {
      const std::size_t end = text.find_first_not_of("?0123456789", at + 2);
      EXPECT_TRUE(end < text.size() && std::isalpha(static_cast<unsigned char>(text[end])));
      text.erase(at, end < text.size() ? end + 1 - at : end);
    }
    std::istringstream table{text};
    std::vector<std::string> lines;
    for (std::string line; std::getline(table, line);) lines.push_back(line);
    return lines;
  }
  static std::function<TerminalSize()> terminal(std::size_t rows, std::size_t columns) {
    return [rows, columns] { return TerminalSize{rows, columns}; };
  }
  // One whose seconds pass by hand.
  std::unique_ptr<HubReport> jsonReport() {
    return makeJsonHubReport(out, [this] { return now; });
  }

  std::ostringstream out;
  std::chrono::steady_clock::time_point now{1h};
};

TEST_F(HubReportTest, JsonTellsEachChangeOnce) {
  const auto report = makeJsonHubReport(out);
  report->present(hub());
  EXPECT_EQ(take(),
            "{\"event\":\"hub\",\"address\":\"192.168.1.100\",\"name\":null,\"rssi\":-52}\n");
  report->present(hub());
  EXPECT_EQ(take(), "");
  report->present(hub("Room 1"));
  EXPECT_EQ(take(),
            "{\"event\":\"hub\",\"address\":\"192.168.1.100\",\"name\":\"Room 1\",\"rssi\":-52}\n");
  report->gone(hub("Room 1"));
  EXPECT_EQ(take(), "{\"event\":\"gone\",\"address\":\"192.168.1.100\",\"name\":\"Room 1\"}\n");
  report->present(hub());
  EXPECT_THAT(take(), HasSubstr("\"hub\""));
}

TEST_F(HubReportTest, JsonTellsTheSignalAtMostOnceASecond) {
  const auto report = jsonReport();
  Hub changing = hub();
  report->present(changing);
  take();
  changing.rssi = -60;
  now += 999ms;
  report->present(changing);
  EXPECT_EQ(take(), "");
  now += 1ms;
  report->present(changing);
  EXPECT_THAT(take(), HasSubstr("\"rssi\":-60"));
  now += 2s;
  report->present(changing);
  EXPECT_EQ(take(), "");
}

TEST_F(HubReportTest, JsonTellsTheLastSignalWhenTheSecondIsOver) {
  const auto report = jsonReport();
  Hub changing = hub();
  report->present(changing);
  changing.rssi = -60;
  report->present(changing);
  take();
  now += 999ms;
  report->list({changing}, kNow);
  EXPECT_EQ(take(), "");
  now += 1ms;
  report->list({changing}, kNow);
  EXPECT_THAT(take(), HasSubstr("\"rssi\":-60"));
}

TEST_F(HubReportTest, JsonTellsTheSignalAlthoughTheDateHasJumpedBack) {
  const auto report = jsonReport();
  Hub changing = hub();
  report->present(changing);
  take();
  changing.rssi = -60;
  changing.lastHeard -= 24h;
  now += 1s;
  report->present(changing);
  EXPECT_THAT(take(), HasSubstr("\"rssi\":-60"));
}

TEST_F(HubReportTest, JsonCutsNames) {
  const auto report = makeJsonHubReport(out);
  report->present(hub(std::string(std::size_t{1} << 20, 'x')));
  EXPECT_LT(take().size(), 400U);
}

TEST_F(HubReportTest, JsonTellsAnUnknownStrengthAsNull) {
  const auto report = makeJsonHubReport(out);
  report->present(hub("Room 1", std::nullopt));
  EXPECT_THAT(take(), HasSubstr("\"rssi\":null"));
}

TEST_F(HubReportTest, PlainLinesTellComingNameAndGoing) {
  const auto report = makePlainHubReport(out);
  report->present(hub());
  EXPECT_EQ(take(), "found  192.168.1.100    -52 dBm   (no name yet)\n");
  report->present(hub(std::nullopt, -70));
  EXPECT_EQ(take(), "");
  report->present(hub("Room\x1B 1", -70));
  EXPECT_EQ(take(), "name   192.168.1.100    -70 dBm   Room\\x1b 1\n");
  report->gone(hub("Room 1"));
  EXPECT_EQ(take(), "gone   192.168.1.100              Room 1\n");
  report->bluetooth("Bluetooth is powered off.", false);
  EXPECT_EQ(take(), "Bluetooth is powered off.\n");
}

TEST_F(HubReportTest, TheTableTellsNameAddressSignalAndSilence) {
  const auto report = makeTerminalHubReport(out, terminal(24, 80));
  report->list({hub("Room 1")}, kNow + 3500ms);
  const std::string table = take();
  EXPECT_THAT(table, HasSubstr("Room 1"));
  EXPECT_THAT(table, HasSubstr("192.168.1.100    |||| -52 dBm   3 s ago"));
  EXPECT_THAT(table, Not(HasSubstr("A\x1b")));  // nothing drawn before: the cursor stays
}

TEST_F(HubReportTest, TheTableIsDrawnOverTheOneBefore) {
  const auto report = makeTerminalHubReport(out, terminal(24, 80));
  report->list({hub("Room 1"), hub("Room 2", -80)}, kNow);
  take();
  report->list({}, kNow);
  EXPECT_THAT(take(), testing::StartsWith("\r\x1b[3A"));  // its head and two hubs
  report->list({}, kNow);
  EXPECT_THAT(take(), testing::StartsWith("\r\x1b[1A"));
}

TEST_F(HubReportTest, TheTableFitsTheTerminal) {
  const auto report = makeTerminalHubReport(out, terminal(6, 80));
  report->list(std::vector<Hub>(10, hub("Room")), kNow);
  const std::string table = take();
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 5);
  EXPECT_THAT(table, HasSubstr("... and 7 more"));
}

TEST_F(HubReportTest, NothingPushesAddressSignalAndSilenceOffTheTerminal) {
  const std::string names[] = {repeated("\xE2\x80\xAE", 40), repeated("\xE4\xB8\xAD", 40),
                               "Z" + repeated("\xCC\x81", 40), "Room 1"};
  for (const std::size_t columns : {80, 60, 48, 40}) {
    const auto report = makeTerminalHubReport(out, terminal(24, columns));
    for (const std::string& name : names) {
      report->list({hub(name)}, kNow + 13s);
      const std::vector<std::string> lines = drawn();
      ASSERT_EQ(lines.size(), 2U);
      EXPECT_THAT(lines[1], EndsWith("192.168.1.100    |||| -52 dBm   13 s ago"));
      EXPECT_EQ(columnCount(lines[1]), std::min<std::size_t>(columns, 76));
    }
  }
}

TEST_F(HubReportTest, ANarrowTableShowsTheBeginningOfTheName) {
  const auto report = makeTerminalHubReport(out, terminal(24, 60));
  report->list({hub("A room with a long name")}, kNow);
  EXPECT_THAT(drawn(), ElementsAre("NAME                ADDRESS          SIGNAL         HEARD",
                                   "A room with a lo... 192.168.1.100    |||| -52 dBm   0 s ago"));
}

TEST_F(HubReportTest, TheTableFollowsTheTerminalsSize) {
  TerminalSize size{24, 80};
  const auto report = makeTerminalHubReport(out, [&size] { return size; });
  const std::vector<Hub> hubs(10, hub("Room"));
  report->list(hubs, kNow);
  EXPECT_THAT(drawn(), testing::SizeIs(11));
  size = {6, 60};
  report->list(hubs, kNow);
  const std::vector<std::string> lines = drawn();
  EXPECT_THAT(lines, testing::SizeIs(5));
  EXPECT_THAT(lines[0], testing::StartsWith("NAME                ADDRESS"));
  size = {3, 60};
  report->list(hubs, kNow);
  EXPECT_THAT(drawn(), testing::SizeIs(2));  // and the cursor's line
}

TEST_F(HubReportTest, TheWholeSentenceCanBeRead) {
  const auto report = makeTerminalHubReport(out, terminal(24, 40));
  report->bluetooth("Your hardware does not support it. \"tessel doctor\" says what to do.", false);
  report->list({hub()}, kNow);
  EXPECT_THAT(drawn(), ElementsAre("Your hardware does not support it.",
                                   "\"tessel doctor\" says what to do.", HasSubstr("ADDRESS"),
                                   HasSubstr("192.168.1.100")));
}

TEST_F(HubReportTest, TheTableTellsWhyNothingIsHeard) {
  const auto report = makeTerminalHubReport(out, terminal(24, 80));
  report->bluetooth("Bluetooth is powered off.", false);
  report->list({}, kNow);
  EXPECT_THAT(take(), HasSubstr("Bluetooth is powered off."));
}

}  // namespace
}  // namespace tessel::apps
