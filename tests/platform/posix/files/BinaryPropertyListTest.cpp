#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/files/BinaryPropertyList.h"

namespace tessel::platform {
namespace {

using Object = std::vector<std::uint8_t>;

void appendBigEndian(Bytes& out, std::uint64_t value, int size) {
  for (int shift = (size - 1) * 8; shift >= 0; shift -= 8)
    out.push_back(static_cast<std::uint8_t>(value >> shift));
}

// A file of these objects, the first one the outermost; two bytes an offset and a reference.
Bytes fileOf(const std::vector<Object>& objects) {
  Bytes file{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  std::vector<std::size_t> offsets;
  for (const Object& object : objects) {
    offsets.push_back(file.size());
    file.insert(file.end(), object.begin(), object.end());
  }
  const std::size_t table = file.size();
  for (const std::size_t offset : offsets) appendBigEndian(file, offset, 2);
  file.insert(file.end(), 6, 0);
  file.push_back(2);
  file.push_back(2);
  appendBigEndian(file, objects.size(), 8);
  appendBigEndian(file, 0, 8);
  appendBigEndian(file, table, 8);
  return file;
}

Object ascii(const std::string& text) {
  Object object{static_cast<std::uint8_t>(0x50 | text.size())};
  object.insert(object.end(), text.begin(), text.end());
  return object;
}

std::optional<PropertyListValue> valueOf(const Object& object) {
  return parseBinaryPropertyList(fileOf({object}));
}

// What another program's file looks like: every kind of value in one dictionary.
const Bytes& sampleFile() {
  static const Bytes file = fileOf({
      {0xD3, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6},  // three keys, then three values
      ascii("flag"),
      ascii("list"),
      {0x62, 0x00, 0xE9, 0x4E, 0x2D},  // a UTF-16 key of two characters
      {0x09},
      {0xA2, 0, 7, 0, 8},
      {0x43, 1, 2, 3},
      {0x10, 200},
      {0x33, 0, 0, 0, 0, 0, 0, 0, 0},
  });
  return file;
}

TEST(BinaryPropertyListTest, EveryKindOfValueIsRead) {
  const auto root = parseBinaryPropertyList(sampleFile());
  ASSERT_TRUE(root);
  const PropertyListDictionary expected{
      {"flag", {true}},
      {"list", {PropertyListArray{{std::int64_t{200}}, {Date{std::chrono::seconds{978307200}}}}}},
      {"\xC3\xA9\xE4\xB8\xAD", {Bytes{1, 2, 3}}},
  };
  EXPECT_EQ(root->value, PropertyListValue{expected}.value);
}

TEST(BinaryPropertyListTest, NumbersOfEverySizeAreRead) {
  using Integer = std::int64_t;
  EXPECT_EQ(valueOf({0x10, 0xFF}), PropertyListValue{Integer{255}});
  EXPECT_EQ(valueOf({0x11, 0x01, 0x00}), PropertyListValue{Integer{256}});
  EXPECT_EQ(valueOf({0x12, 0xFF, 0xFF, 0xFF, 0xFF}), PropertyListValue{Integer{0xFFFFFFFF}});
  EXPECT_EQ(valueOf({0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}),
            PropertyListValue{Integer{-2}});
  EXPECT_EQ(valueOf({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}),
            PropertyListValue{Integer{7}});
  EXPECT_EQ(valueOf({0x22, 0x3F, 0xC0, 0, 0}), PropertyListValue{1.5});
  EXPECT_EQ(valueOf({0x23, 0xC0, 0x00, 0, 0, 0, 0, 0, 0}), PropertyListValue{-2.0});
}

TEST(BinaryPropertyListTest, ALongTextSaysItsLengthInAnInteger) {
  Object object{0x5F, 0x11, 0x01, 0x00};
  object.insert(object.end(), 256, 'x');
  EXPECT_EQ(valueOf(object), PropertyListValue{std::string(256, 'x')});
}

TEST(BinaryPropertyListTest, CharactersOutsideTheFirstPlaneAreRead) {
  EXPECT_EQ(valueOf({0x62, 0xD8, 0x3D, 0xDE, 0x00}),
            PropertyListValue{std::string{"\xF0\x9F\x98\x80"}});
  EXPECT_FALSE(valueOf({0x61, 0xD8, 0x3D}));
  EXPECT_FALSE(valueOf({0x61, 0xDE, 0x00}));
  EXPECT_FALSE(valueOf({0x62, 0xD8, 0x3D, 0x00, 0x41}));
}

TEST(BinaryPropertyListTest, DamagedObjectsAreRefused) {
  const std::vector<Object> damaged = {
      {0x00},                                                        // nothing
      {0x15, 0, 0, 0},                                               // an integer of 32 bytes
      {0x13, 0, 0},                                                  // cut short
      {0x33, 0x7F, 0xF8, 0, 0, 0, 0, 0, 0},                          // a date that is no number
      {0x33, 0x7F, 0xE0, 0, 0, 0, 0, 0, 0},                          // a date beyond all calendars
      {0x5F},                                                        // a length that is not there
      {0x5F, 0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},  // longer than any file
      {0x6F, 0x13, 0x80, 0, 0, 0, 0, 0, 0, 1},                       // twice that wraps to 2
      {0x51, 0xE9},                                                  // not ASCII
      {0xA1, 0, 9},                                                  // a member that is not there
      {0xDF, 0x13, 0x40, 0, 0, 0, 0, 0, 0, 0},  // as many members as would wrap
      {0xD1, 0, 0, 0, 0},                       // a key that is a dictionary
      {0xF0},                                   // no such kind
  };
  for (const Object& object : damaged) EXPECT_FALSE(valueOf(object)) << int{object[0]};
}

TEST(BinaryPropertyListTest, AContainerInsideItselfIsRefused) {
  EXPECT_FALSE(parseBinaryPropertyList(fileOf({{0xA1, 0, 0}})));
}

TEST(BinaryPropertyListTest, DeepNestingIsRefused) {
  std::vector<Object> objects;
  for (int i = 1; i <= 2000; ++i)
    objects.push_back({0xA1, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)});
  objects.push_back({0x09});
  EXPECT_FALSE(parseBinaryPropertyList(fileOf(objects)));
}

TEST(BinaryPropertyListTest, SharedMembersDoNotUnfoldWithoutBound) {
  std::vector<Object> objects;  // each level holds the next one twice: 2 to the 60th values
  for (std::uint8_t i = 1; i <= 60; ++i) objects.push_back({0xA2, 0, i, 0, i});
  objects.push_back({0x09});
  EXPECT_FALSE(parseBinaryPropertyList(fileOf(objects)));
}

TEST(BinaryPropertyListTest, EveryTruncationIsRefused) {
  const Bytes& file = sampleFile();
  for (std::size_t length = 0; length < file.size(); ++length) {
    const Bytes part{file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)};
    EXPECT_FALSE(parseBinaryPropertyList(part)) << length;
  }
}

TEST(BinaryPropertyListTest, EverySingleByteChangeIsReadOrRefusedInBounds) {
  const Bytes& whole = sampleFile();
  int refused = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      Bytes file = whole;
      file[at] = static_cast<std::uint8_t>(value);
      refused += parseBinaryPropertyList(file) ? 0 : 1;
    }
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace tessel::platform
