#include "platform/posix/files/BinaryPropertyList.h"
#include "platform/posix/files/XmlPropertyList.h"

using tessel::PropertyListDictionary;

// A configuration file of either format; what was read and can be written is read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto root = tessel::platform::isBinaryPropertyList({data, size})
                        ? tessel::platform::parseBinaryPropertyList({data, size})
                        : tessel::platform::parseXmlPropertyList({data, size});
  if (!root || !std::holds_alternative<PropertyListDictionary>(root->value)) return 0;
  const auto xml =
      tessel::platform::formatXmlPropertyList(std::get<PropertyListDictionary>(root->value));
  if (!xml) return 0;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(xml->data());
  if (!tessel::platform::parseXmlPropertyList({bytes, xml->size()})) __builtin_trap();
  return 0;
}
