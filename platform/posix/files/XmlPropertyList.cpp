#include "platform/posix/files/XmlPropertyList.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>
#include <string_view>
#include <type_traits>

#include "platform/base/CLocale.h"

namespace tessel::platform {
namespace {

// libplist recurses for each container within a container.
constexpr std::ptrdiff_t kMaxContainers = 4096;

// Seconds between the Unix epoch and the format's own, 2001-01-01.
constexpr std::int64_t kEpoch = 978307200;

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

// What libplist allocates for its caller.
struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Allocated = std::unique_ptr<T, FreeMemory>;

std::ptrdiff_t occurrences(std::string_view text, std::string_view wanted) {
  std::ptrdiff_t count = 0;
  for (auto at = text.find(wanted); at != text.npos; at = text.find(wanted, at + wanted.size()))
    ++count;
  return count;
}

std::optional<PropertyListValue> fromNode(plist_t node);

std::optional<PropertyListValue> fromArray(plist_t node) {
  PropertyListArray array;
  plist_array_iter started = nullptr;
  plist_array_new_iter(node, &started);
  const Allocated<void> iterator{started};
  for (;;) {
    plist_t item = nullptr;
    plist_array_next_item(node, started, &item);
    if (!item) return PropertyListValue{std::move(array)};
    auto value = fromNode(item);
    if (!value) return std::nullopt;
    array.push_back(std::move(*value));
  }
}

std::optional<PropertyListValue> fromDictionary(plist_t node) {
  PropertyListDictionary dictionary;
  plist_dict_iter started = nullptr;
  plist_dict_new_iter(node, &started);
  const Allocated<void> iterator{started};
  for (;;) {
    char* name = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, started, &name, &item);
    const Allocated<char> key{name};
    if (!item) return PropertyListValue{std::move(dictionary)};
    auto value = fromNode(item);
    if (!key || !value) return std::nullopt;
    dictionary.insert_or_assign(key.get(), std::move(*value));
  }
}

PropertyListValue fromDate(plist_t node) {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  return {Date{std::chrono::seconds{kEpoch + seconds} + std::chrono::microseconds{microseconds}}};
}

std::optional<PropertyListValue> fromNode(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t value = 0;
      plist_get_bool_val(node, &value);
      return PropertyListValue{value != 0};
    }
    case PLIST_UINT: {
      std::uint64_t value = 0;
      plist_get_uint_val(node, &value);
      return PropertyListValue{static_cast<std::int64_t>(value)};
    }
    case PLIST_REAL: {
      double value = 0;
      plist_get_real_val(node, &value);
      return PropertyListValue{value};
    }
    case PLIST_STRING: {
      std::uint64_t length = 0;
      const char* value = plist_get_string_ptr(node, &length);
      return PropertyListValue{value ? std::string{value, length} : std::string{}};
    }
    case PLIST_DATA: {
      std::uint64_t length = 0;
      const char* value = plist_get_data_ptr(node, &length);
      return PropertyListValue{value ? Bytes{value, value + length} : Bytes{}};
    }
    case PLIST_DATE:
      return fromDate(node);
    case PLIST_ARRAY:
      return fromArray(node);
    case PLIST_DICT:
      return fromDictionary(node);
    default:
      return std::nullopt;
  }
}

// XML has no way to write most control characters.
bool fitsXml(std::string_view text) {
  return std::ranges::all_of(text, [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r';
  });
}

Node toNode(const PropertyListValue& value);

struct ToNode {
  plist_t operator()(bool value) const { return plist_new_bool(value); }
  plist_t operator()(std::int64_t value) const {
    return plist_new_uint(static_cast<std::uint64_t>(value));
  }
  plist_t operator()(double value) const {
    return std::isfinite(value) ? plist_new_real(value) : nullptr;
  }
  plist_t operator()(const std::string& value) const {
    return fitsXml(value) ? plist_new_string(value.c_str()) : nullptr;
  }
  plist_t operator()(const Bytes& value) const {
    return plist_new_data(reinterpret_cast<const char*>(value.data()), value.size());
  }
  plist_t operator()(Date value) const {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(value).time_since_epoch().count();
    const std::int64_t sinceEpoch = seconds - kEpoch;
    if (sinceEpoch != static_cast<std::int32_t>(sinceEpoch)) return nullptr;
    return plist_new_date(static_cast<std::int32_t>(sinceEpoch), 0);
  }
  plist_t operator()(const PropertyListArray& value) const {
    Node array{plist_new_array()};
    for (const PropertyListValue& item : value) {
      Node node = toNode(item);
      if (!node) return nullptr;
      plist_array_append_item(array.get(), node.release());
    }
    return array.release();
  }
  plist_t operator()(const PropertyListDictionary& value) const {
    Node dictionary{plist_new_dict()};
    for (const auto& [key, item] : value) {
      Node node = fitsXml(key) ? toNode(item) : nullptr;
      if (!node) return nullptr;
      plist_dict_set_item(dictionary.get(), key.c_str(), node.release());
    }
    return dictionary.release();
  }
};

Node toNode(const PropertyListValue& value) { return Node{std::visit(ToNode{}, value.value)}; }

}  // namespace

std::optional<PropertyListValue> parseXmlPropertyList(std::span<const std::uint8_t> file) {
  const std::string_view text{reinterpret_cast<const char*>(file.data()), file.size()};
  if (occurrences(text, "<array") + occurrences(text, "<dict") > kMaxContainers)
    return std::nullopt;
  const CLocale pointInNumbers;
  plist_t parsed = nullptr;
  plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &parsed);
  const Node root{parsed};
  return root ? fromNode(root.get()) : std::nullopt;
}

std::optional<std::string> formatXmlPropertyList(const PropertyListDictionary& dictionary) {
  const Node root{ToNode{}(dictionary)};
  if (!root) return std::nullopt;
  const CLocale pointInNumbers;
  char* written = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(root.get(), &written, &length);
  const Allocated<char> xml{written};
  if (!xml) return std::nullopt;
  return std::string{xml.get(), length};
}

}  // namespace tessel::platform
