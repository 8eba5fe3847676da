#include "tests/support/FakeFiles.h"

namespace tessel::test {
namespace {

class FakeStream final : public platform::OutputStream {
 public:
  FakeStream(FakeFiles& files, std::string path) : files_{files}, path_{std::move(path)} {}
  void open() override { files_.streamsOpened.push_back(path_); }

 private:
  FakeFiles& files_;
  const std::string path_;
};

}  // namespace

FakeFiles::FakeFiles() {
  files["/lib/tessel/VexCfg.plist"] =
      PropertyListDictionary{{"AutoDisconnectCastingWhenCloseLaptop", {true}}};
}

bool FakeFiles::exists(const std::string& path) {
  return folders.contains(path) || files.contains(path);
}

std::optional<Error> FakeFiles::createDirectory(const std::string& path) {
  if (!createFailure) folders.insert(path);
  return createFailure;
}

std::optional<Error> FakeFiles::copy(const std::string& from, const std::string& to) {
  if (!copyFailure) files[to] = files.at(from);
  return copyFailure;
}

std::optional<std::string> FakeFiles::resourcePath(const platform::Bundle&,
                                                   const std::string& name) {
  const auto found = resources.find(name);
  return found == resources.end() ? std::nullopt : std::optional{found->second};
}

std::optional<PropertyListDictionary> FakeFiles::readPropertyList(const std::string& path) {
  ++reads;
  const auto found = files.find(path);
  return found == files.end() ? std::nullopt : found->second;
}

bool FakeFiles::writePropertyListAtomically(const std::string& path,
                                            const PropertyListDictionary& dictionary) {
  ++writes;
  if (!writeFails) files[path] = dictionary;
  return !writeFails;
}

std::string FakeFiles::expandTilde(const std::string& path) {
  return path.starts_with("~") ? "/home/user" + path.substr(1) : path;
}

std::unique_ptr<platform::OutputStream> FakeFiles::makeOutputStream(const std::string& path) {
  if (streamFails) return nullptr;
  return std::make_unique<FakeStream>(*this, path);
}

std::optional<std::string> FakeUserDefaults::string(const std::string& key) {
  const auto found = strings.find(key);
  return found == strings.end() ? std::nullopt : std::optional{found->second};
}

std::string FakeLocalization::localizedString(const std::string& key) {
  const auto found = strings.find(key);
  return found == strings.end() ? std::string{} : found->second;
}

}  // namespace tessel::test
