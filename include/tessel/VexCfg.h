#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tessel/Export.h"
#include "tessel/PropertyList.h"

namespace tessel {

/// The machine-wide configuration file, a property list named "VexCfg.plist" whose top level is a
/// dictionary. On first use the file is created from the copy that the library ships.
///
/// It lies in the folder "/Users/Shared/Lumisk"; the environment variable TESSEL_SHARED_FOLDER
/// replaces "/Users/Shared". Any failure is logged and leaves the built-in defaults in force.
///
/// Any thread may call; a recursive lock is held for the whole of each keyed access, load and save.
class TESSEL_EXPORT VexCfg {
 public:
  /// The one instance of this process, made on the first call.
  static std::shared_ptr<VexCfg> sharedCfgFile();

  /// An instance of its own: ensures the file and loads it.
  static std::shared_ptr<VexCfg> init();

  ~VexCfg();

  /// Ensures folder and file, and sets `fileExist`.
  void checkCfgFileExist();
  /// Reads the file into `pCfgDict`; does nothing while `fileExist` is false.
  void loadCfgFile();
  /// The same as `loadCfgFile`.
  void reLoadCfgFile();
  /// Writes the dictionary back, atomically, when it has changes.
  void saveCfgFile();

  /// The value under `key`; none when the file was not loaded or has no such key.
  std::optional<PropertyListValue> getObjectByKey(const std::optional<std::string>& key) const;
  /// Stores a value. Without a key, a value or a loaded file nothing happens.
  void setObjectByKey(const std::optional<std::string>& key,
                      const std::optional<PropertyListValue>& object);

  /// Whether there are changes that are not yet written.
  bool fileModified() const;
  void setFileModified(bool fileModified);
  /// Whether the file exists and may be read and written.
  bool fileExist() const;
  void setFileExist(bool fileExist);
  /// The file's contents in memory; none until loaded, or when it could not be read.
  std::optional<PropertyListDictionary> pCfgDict() const;
  void setPCfgDict(std::optional<PropertyListDictionary> pCfgDict);

 private:
  VexCfg();

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tessel
