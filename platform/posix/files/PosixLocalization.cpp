#include "platform/posix/files/PosixLocalization.h"

#include <cstdlib>
#include <vector>

#include "platform/posix/files/FileServices.h"

namespace tessel::platform {
namespace {

std::string locale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value && *value) return value;
  }
  return {};
}

// "de_AT.UTF-8@euro" gives de_AT, then de, then the fallback.
std::vector<std::string> languages() {
  const std::string name = locale();
  const std::string region = name.substr(0, name.find_first_of(".@"));
  return {region, region.substr(0, region.find('_')), "en"};
}

template <typename T>
const T* find(const PropertyListDictionary& dictionary, const std::string& key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : std::get_if<T>(&found->second.value);
}

}  // namespace

std::string PosixLocalization::localizedString(const std::string& key) {
  const auto bundle = files_->bundle();
  if (!bundle) return {};
  const auto path = files_->resourcePath(*bundle, "Localizable.plist");
  const auto tables = path ? files_->readPropertyList(*path) : std::nullopt;
  if (!tables) return {};
  for (const std::string& language : languages()) {
    const auto* table = find<PropertyListDictionary>(*tables, language);
    const auto* text = table ? find<std::string>(*table, key) : nullptr;
    if (text) return *text;
  }
  return {};
}

std::shared_ptr<Localization> makeLocalization(std::shared_ptr<Files> files) {
  return std::make_shared<PosixLocalization>(std::move(files));
}

}  // namespace tessel::platform
