#include <gmock/gmock.h>
#include <limits>

#include "platform/linux/dbus/SdBus.h"
#include "platform/linux/dbus/Variant.h"
#include "tests/platform/linux/dbus/PrivateBus.h"

namespace tessel::test {
namespace {

using platform::findValue;
using platform::Variant;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;
using testing::SizeIs;

class VariantTest : public testing::Test {
 protected:
  VariantTest() {
    sd_bus* opened = nullptr;
    EXPECT_GE(sd_bus_open_system(&opened), 0);
    connection.reset(opened);
  }

  // A message as one that was received, with these contents.
  template <typename... Values>
  platform::SdMessage message(const char* types, Values... values) {
    sd_bus_message* made = nullptr;
    EXPECT_GE(sd_bus_message_new_signal(connection.get(), &made, "/", "org.tessel.Test", "Test"),
              0);
    EXPECT_GE(sd_bus_message_append(made, types, values...), 0);
    EXPECT_GE(sd_bus_message_seal(made, 1, 0), 0);
    return platform::SdMessage{made};
  }
  template <typename... Values>
  Variant read(const char* types, Values... values) {
    const auto contents = message(types, values...);
    auto value = platform::readValue(contents.get());
    EXPECT_TRUE(value) << types;
    EXPECT_EQ(sd_bus_message_at_end(contents.get(), 1), 1) << types << " was not read to its end";
    return value.value_or(Variant{});
  }

  const PrivateBus bus;
  platform::SdBus connection;
};

TEST_F(VariantTest, IntegersOfAllSizesAreOneType) {
  EXPECT_THAT(read("y", 200).as<std::int64_t>(), Pointee(200));
  EXPECT_THAT(read("n", -2).as<std::int64_t>(), Pointee(-2));
  EXPECT_THAT(read("q", 60000).as<std::int64_t>(), Pointee(60000));
  EXPECT_THAT(read("i", -3).as<std::int64_t>(), Pointee(-3));
  EXPECT_THAT(read("u", 4000000000U).as<std::int64_t>(), Pointee(4000000000));
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  EXPECT_THAT(read("x", kMin).as<std::int64_t>(), Pointee(kMin));
}

TEST_F(VariantTest, TheOtherBasicTypesAreTheirOwn) {
  EXPECT_THAT(read("b", 1).as<bool>(), Pointee(true));
  EXPECT_THAT(read("b", 0).as<bool>(), Pointee(false));
  constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
  EXPECT_THAT(read("t", kMax).as<std::uint64_t>(), Pointee(kMax));
  EXPECT_THAT(read("d", 0.5).as<double>(), Pointee(0.5));
  EXPECT_THAT(read("s", "text").as<std::string>(), Pointee(std::string{"text"}));
  EXPECT_THAT(read("o", "/path").as<std::string>(), Pointee(std::string{"/path"}));
  EXPECT_THAT(read("g", "a{sv}").as<std::string>(), Pointee(std::string{"a{sv}"}));
}

TEST_F(VariantTest, AFileDescriptorIsLeftToItsMessage) {
  EXPECT_TRUE(read("h", STDERR_FILENO).as<std::monostate>());
}

TEST_F(VariantTest, AVariantIsWhatItHolds) {
  EXPECT_THAT(read("v", "v", "s", "text").as<std::string>(), Pointee(std::string{"text"}));
}

TEST_F(VariantTest, ArraysOfBytesAndOfTextHaveTypesOfTheirOwn) {
  EXPECT_THAT(read("ay", 3, 1, 2, 255).as<Bytes>(), Pointee(ElementsAre(1, 2, 255)));
  EXPECT_THAT(read("as", 2, "a", "b").as<Variant::Strings>(), Pointee(ElementsAre("a", "b")));
  EXPECT_THAT(read("ay", 0).as<Bytes>(), Pointee(IsEmpty()));
  EXPECT_THAT(read("as", 0).as<Variant::Strings>(), Pointee(IsEmpty()));
}

TEST_F(VariantTest, OtherArraysAndStructuresAreLists) {
  const Variant pair = read("(ii)", 640, -480);
  ASSERT_THAT(pair.as<Variant::List>(), Pointee(SizeIs(2)));
  EXPECT_THAT((*pair.as<Variant::List>())[1].as<std::int64_t>(), Pointee(-480));
  const Variant array = read("a(ua{sv})", 1, 7, 1, "name", "s", "text");
  ASSERT_THAT(array.as<Variant::List>(), Pointee(SizeIs(1)));
  const auto* members = array.as<Variant::List>()->front().as<Variant::List>();
  ASSERT_THAT(members, Pointee(SizeIs(2)));
  ASSERT_THAT((*members)[1].as<Variant::Dictionary>(), Pointee(SizeIs(1)));
  EXPECT_THAT(read("ai", 0).as<Variant::List>(), Pointee(IsEmpty()));
}

TEST_F(VariantTest, ADictionaryKeepsItsEntriesInOrder) {
  const Variant read1 = read("a{qv}", 2, 76, "ay", 1, 9, 7, "s", "text");
  const auto* entries = read1.as<Variant::Dictionary>();
  ASSERT_THAT(entries, Pointee(SizeIs(2)));
  EXPECT_THAT((*entries)[0].key.as<std::int64_t>(), Pointee(76));
  EXPECT_THAT((*entries)[0].value.as<Bytes>(), Pointee(ElementsAre(9)));
  EXPECT_THAT((*entries)[1].value.as<std::string>(), Pointee(std::string{"text"}));
}

TEST_F(VariantTest, NamedValuesAreFoundByNameAndType) {
  const auto contents = message("a{sv}", 2, "on", "b", 1, "name", "s", "text");
  const auto values = platform::readVariantMap(contents.get());
  ASSERT_TRUE(values);
  EXPECT_THAT(findValue<bool>(*values, "on"), Pointee(true));
  EXPECT_THAT(findValue<std::string>(*values, "name"), Pointee(std::string{"text"}));
  EXPECT_EQ(findValue<std::string>(*values, "on"), nullptr);
  EXPECT_EQ(findValue<bool>(*values, "off"), nullptr);
}

TEST_F(VariantTest, WhereThereAreNoNamedValuesThereIsNone) {
  EXPECT_FALSE(platform::readVariantMap(message("as", 0).get()));
  EXPECT_FALSE(platform::readVariantMap(message("a{ss}", 1, "a", "b").get()));
  EXPECT_FALSE(platform::readVariantMap(message("").get()));
  EXPECT_FALSE(platform::readValue(message("").get()));
}

}  // namespace
}  // namespace tessel::test
