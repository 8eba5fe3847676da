#include "platform/posix/files/BinaryPropertyList.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

// The file, all numbers big-endian:
//
//     "bplist0?"   magic and version
//     objects      each a marker byte (kind in the high half, size or count in the low), then bytes
//     offsets      one a object, `offsetSize` bytes each, counted from the start of the file
//     trailer      the last 32 bytes:
//       at  size  field
//        0     6  -            unused
//        6     1  offsetSize   bytes of an entry of the offset table
//        7     1  referenceSize  bytes of an object's number inside a container
//        8     8  objectCount
//       16     8  root         number of the outermost object
//       24     8  offsetTable  where the offset table begins
namespace tessel::platform {
namespace {

constexpr std::size_t kTrailerSize = 32;
constexpr std::string_view kMagic = "bplist0";
constexpr int kMaxDepth = 128;
constexpr int kMaxValues = 100'000;
constexpr std::size_t kMaxTextSize = std::size_t{16} << 20;

// Seconds between the Unix epoch and the format's own, 2001-01-01.
constexpr double kEpoch = 978307200;

using Part = std::span<const std::uint8_t>;

std::uint64_t bigEndian(Part bytes) {
  std::uint64_t value = 0;
  for (const std::uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

void appendUtf8(std::string& out, std::uint32_t code) {
  const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | code >> 6);
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

std::optional<std::string> fromUtf16(Part bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    std::uint32_t code = static_cast<std::uint32_t>(bigEndian(bytes.subspan(at, 2)));
    if (code >= 0xDC00 && code < 0xE000) return std::nullopt;
    if (code >= 0xD800 && code < 0xDC00) {
      at += 2;
      if (at >= bytes.size()) return std::nullopt;
      const auto low = static_cast<std::uint32_t>(bigEndian(bytes.subspan(at, 2)));
      if (low < 0xDC00 || low >= 0xE000) return std::nullopt;
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUtf8(text, code);
  }
  return text;
}

std::optional<double> real(Part bytes) {
  if (bytes.size() == 4) return std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(bytes)));
  if (bytes.size() == 8) return std::bit_cast<double>(bigEndian(bytes));
  return std::nullopt;
}

std::optional<Date> date(Part bytes) {
  const auto seconds = real(bytes);
  constexpr double kMaxSeconds = 9e9;  // a little below what 64-bit nanoseconds can hold
  if (!seconds || !(std::abs(*seconds + kEpoch) < kMaxSeconds)) return std::nullopt;
  return Date{std::chrono::duration_cast<Date::duration>(Seconds{*seconds + kEpoch})};
}

// Reads one file. The limits count every value that is produced, so also each further reference to
// the same object.
class Reader {
 public:
  explicit Reader(Part file) : file_{file} {}

  std::optional<PropertyListValue> read() {
    if (file_.size() < kMagic.size() + 1 + kTrailerSize) return std::nullopt;
    const Part trailer = file_.last(kTrailerSize);
    offsetSize_ = trailer[6];
    referenceSize_ = trailer[7];
    objectCount_ = bigEndian(trailer.subspan(8, 8));
    const std::uint64_t root = bigEndian(trailer.subspan(16, 8));
    const std::uint64_t table = bigEndian(trailer.subspan(24, 8));
    const std::uint64_t end = file_.size() - kTrailerSize;
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
      return std::nullopt;
    if (table > end || objectCount_ > (end - table) / offsetSize_) return std::nullopt;
    offsets_ = file_.subspan(table, objectCount_ * offsetSize_);
    objects_ = file_.first(table);
    return object(root, 0);
  }

 private:
  // The bytes of an object after its marker, and the marker's count of units (bytes, characters,
  // members).
  struct Body {
    Part bytes;
    std::uint64_t count = 0;

    // `size` bytes a unit; none when the file ends before them.
    std::optional<Part> units(std::uint64_t size) const {
      if (count > bytes.size() / size) return std::nullopt;
      return bytes.first(count * size);
    }
  };

  std::optional<PropertyListValue> object(std::uint64_t number, int depth) {
    if (number >= objectCount_ || depth > kMaxDepth || ++values_ > kMaxValues) return std::nullopt;
    const std::uint64_t at = bigEndian(offsets_.subspan(number * offsetSize_, offsetSize_));
    if (at >= objects_.size()) return std::nullopt;
    const std::uint8_t kind = objects_[at] >> 4;
    const std::uint8_t low = objects_[at] & 0x0F;
    const Part rest = objects_.subspan(at + 1);
    switch (kind) {
      case 0x0:
        if (low != 0x8 && low != 0x9) return std::nullopt;
        return PropertyListValue{low == 0x9};
      case 0x1:
        return integer(rest, low);
      case 0x2:
      case 0x3:
        return timeOrReal(rest, low, kind == 0x3);
      case 0x8:  // a key archiver's reference: a plain number of low + 1 bytes
        if (low > 7 || rest.size() <= low) return std::nullopt;
        return PropertyListValue{static_cast<std::int64_t>(bigEndian(rest.first(low + 1U)))};
      default:
        break;
    }
    const auto counted = body(rest, low);
    if (!counted) return std::nullopt;
    switch (kind) {
      case 0x4:
      case 0x5:
      case 0x6:
        return bytesOrText(*counted, kind);
      case 0xA:
        return array(*counted, depth);
      case 0xD:
        return dictionary(*counted, depth);
      default:
        return std::nullopt;
    }
  }

  static std::optional<PropertyListValue> integer(Part rest, std::uint8_t sizeLog) {
    const std::size_t size = std::size_t{1} << sizeLog;
    if (sizeLog > 4 || rest.size() < size) return std::nullopt;
    // Up to 4 bytes are unsigned, 8 are signed, 16 hold what needs the 64th bit as a number.
    const Part low = size > 8 ? rest.subspan(8, 8) : rest.first(size);
    return PropertyListValue{static_cast<std::int64_t>(bigEndian(low))};
  }

  static std::optional<PropertyListValue> timeOrReal(Part rest, std::uint8_t sizeLog, bool isDate) {
    const std::size_t size = std::size_t{1} << sizeLog;
    if (sizeLog > 3 || rest.size() < size) return std::nullopt;
    if (isDate) {
      if (const auto value = date(rest.first(size))) return PropertyListValue{*value};
    } else if (const auto value = real(rest.first(size))) {
      return PropertyListValue{*value};
    }
    return std::nullopt;
  }

  // 15 in the marker: the count is an integer object right behind it.
  static std::optional<Body> body(Part rest, std::uint8_t low) {
    if (low != 0x0F) return Body{rest, low};
    if (rest.empty() || rest[0] >> 4 != 0x1 || (rest[0] & 0x0F) > 3) return std::nullopt;
    const std::size_t size = std::size_t{1} << (rest[0] & 0x0F);
    if (rest.size() < 1 + size) return std::nullopt;
    return Body{rest.subspan(1 + size), bigEndian(rest.subspan(1, size))};
  }

  std::optional<PropertyListValue> bytesOrText(const Body& body, std::uint8_t kind) {
    const auto bytes = body.units(kind == 0x6 ? 2 : 1);
    if (!bytes || (textBytes_ += bytes->size()) > kMaxTextSize) return std::nullopt;
    if (kind == 0x4) return PropertyListValue{Bytes{bytes->begin(), bytes->end()}};
    if (kind == 0x6) {
      if (auto text = fromUtf16(*bytes)) return PropertyListValue{std::move(*text)};
      return std::nullopt;
    }
    if (std::ranges::any_of(*bytes, [](std::uint8_t byte) { return byte >= 0x80; }))
      return std::nullopt;
    return PropertyListValue{std::string{bytes->begin(), bytes->end()}};
  }

  std::optional<PropertyListValue> member(Part references, std::uint64_t index, int depth) {
    return object(bigEndian(references.subspan(index * referenceSize_, referenceSize_)), depth + 1);
  }

  std::optional<PropertyListValue> array(const Body& body, int depth) {
    const auto references = body.units(referenceSize_);
    if (!references) return std::nullopt;
    PropertyListArray array;
    for (std::uint64_t i = 0; i < body.count; ++i) {
      auto value = member(*references, i, depth);
      if (!value) return std::nullopt;
      array.push_back(std::move(*value));
    }
    return PropertyListValue{std::move(array)};
  }

  // All keys come first, then all values.
  std::optional<PropertyListValue> dictionary(const Body& body, int depth) {
    const auto references = body.units(2ULL * referenceSize_);
    if (!references) return std::nullopt;
    PropertyListDictionary dictionary;
    for (std::uint64_t i = 0; i < body.count; ++i) {
      const auto key = member(*references, i, depth);
      auto value = member(*references, body.count + i, depth);
      if (!key || !value || !std::holds_alternative<std::string>(key->value)) return std::nullopt;
      dictionary.insert_or_assign(std::get<std::string>(key->value), std::move(*value));
    }
    return PropertyListValue{std::move(dictionary)};
  }

  const Part file_;
  Part objects_;
  Part offsets_;
  std::uint64_t objectCount_ = 0;
  std::uint8_t offsetSize_ = 0;
  std::uint8_t referenceSize_ = 0;
  int values_ = 0;
  std::size_t textBytes_ = 0;  // of all strings and data together
};

}  // namespace

bool isBinaryPropertyList(Part file) {
  return file.size() >= kMagic.size() && std::ranges::equal(file.first(kMagic.size()), kMagic);
}

std::optional<PropertyListValue> parseBinaryPropertyList(Part file) {
  if (!isBinaryPropertyList(file)) return std::nullopt;
  return Reader{file}.read();
}

}  // namespace tessel::platform
