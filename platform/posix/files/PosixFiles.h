#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Files.h"

namespace tessel::platform {

/// Domain of the errors of files; the code is the system's error number.
inline constexpr const char* kFilesErrorDomain = "tessel.files";

/// Limit of a property-list file that is read, in bytes.
inline constexpr std::size_t kMaxPropertyListSize = std::size_t{16} << 20;

/// The file system of a POSIX machine. Stateless; any thread.
class PosixFiles : public Files {
 public:
  std::string sharedFolder() override;
  bool exists(const std::string& path) override;
  std::optional<Error> createDirectory(const std::string& path) override;
  std::optional<Error> copy(const std::string& from, const std::string& to) override;
  std::optional<Bundle> bundle() override;
  std::optional<std::string> resourcePath(const Bundle& bundle, const std::string& name) override;
  std::optional<PropertyListDictionary> readPropertyList(const std::string& path) override;
  bool writePropertyListAtomically(const std::string& path,
                                   const PropertyListDictionary& dictionary) override;
  std::string expandTilde(const std::string& path) override;
  std::unique_ptr<OutputStream> makeOutputStream(const std::string& path) override;
};

}  // namespace tessel::platform
