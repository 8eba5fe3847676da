#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/PropertyList.h"

namespace tessel::platform {

/// A file opened for writing from its start; created, or emptied. Closed by its destructor.
class OutputStream {
 public:
  virtual ~OutputStream() = default;
  /// Opens the file; a failure is silent.
  virtual void open() = 0;
};

/// What the library ships beside its code.
struct Bundle {
  std::string description;  ///< where it is, for the log
};

/// The file system. Any thread; every operation blocks.
class Files {
 public:
  virtual ~Files() = default;

  /// The folder that machine-wide files of all programs share: "/Users/Shared", or what the
  /// environment variable TESSEL_SHARED_FOLDER says.
  virtual std::string sharedFolder() = 0;

  virtual bool exists(const std::string& path) = 0;
  /// With all intermediate folders.
  virtual std::optional<Error> createDirectory(const std::string& path) = 0;
  /// Fails when there is a file at `to` already.
  virtual std::optional<Error> copy(const std::string& from, const std::string& to) = 0;

  /// The library's own bundle; none when it cannot be told where the library is.
  virtual std::optional<Bundle> bundle() = 0;
  /// Path of a resource of the bundle by its full file name; none when it is not there.
  virtual std::optional<std::string> resourcePath(const Bundle& bundle,
                                                  const std::string& name) = 0;

  /// The dictionary in a property-list file, XML or binary; none when there is none.
  virtual std::optional<PropertyListDictionary> readPropertyList(const std::string& path) = 0;
  /// Writes XML so that a reader sees the old file or the new one, never a part.
  virtual bool writePropertyListAtomically(const std::string& path,
                                           const PropertyListDictionary& dictionary) = 0;

  /// `path` with a leading tilde replaced by the user's home folder.
  virtual std::string expandTilde(const std::string& path) = 0;
  /// A stream to the file at `path`, not yet open; null when there cannot be one.
  virtual std::unique_ptr<OutputStream> makeOutputStream(const std::string& path) = 0;
};

/// Settings of the user. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  /// The string under `key`; none when it is not set or not a string.
  virtual std::optional<std::string> string(const std::string& key) = 0;
};

/// Texts in the user's language. Any thread.
class Localization {
 public:
  virtual ~Localization() = default;
  /// The text for `key`, empty when there is none.
  virtual std::string localizedString(const std::string& key) = 0;
};

}  // namespace tessel::platform
