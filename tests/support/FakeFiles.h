#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Files.h"

namespace tessel::test {

/// A file system in memory that holds property lists only.
class FakeFiles final : public platform::Files {
 public:
  std::set<std::string> folders;
  /// A file without a dictionary is a damaged one.
  std::map<std::string, std::optional<PropertyListDictionary>> files;
  std::optional<platform::Bundle> bundleFound = platform::Bundle{"/lib/tessel"};
  std::map<std::string, std::string> resources = {{"VexCfg.plist", "/lib/tessel/VexCfg.plist"}};
  std::optional<Error> createFailure;
  std::optional<Error> copyFailure;
  bool writeFails = false;
  bool streamFails = false;
  int reads = 0;
  int writes = 0;
  std::vector<std::string> streamsOpened;

  FakeFiles();

  std::string sharedFolder() override { return "/Users/Shared"; }
  bool exists(const std::string& path) override;
  std::optional<Error> createDirectory(const std::string& path) override;
  std::optional<Error> copy(const std::string& from, const std::string& to) override;
  std::optional<platform::Bundle> bundle() override { return bundleFound; }
  std::optional<std::string> resourcePath(const platform::Bundle& bundle,
                                          const std::string& name) override;
  std::optional<PropertyListDictionary> readPropertyList(const std::string& path) override;
  bool writePropertyListAtomically(const std::string& path,
                                   const PropertyListDictionary& dictionary) override;
  std::string expandTilde(const std::string& path) override;
  std::unique_ptr<platform::OutputStream> makeOutputStream(const std::string& path) override;
};

class FakeUserDefaults final : public platform::UserDefaults {
 public:
  std::map<std::string, std::string> strings;
  std::optional<std::string> string(const std::string& key) override;
};

class FakeLocalization final : public platform::Localization {
 public:
  std::map<std::string, std::string> strings = {
      {"Heartbeat Failed Message", "The connection to the hub was lost."}};
  std::string localizedString(const std::string& key) override;
};

}  // namespace tessel::test
