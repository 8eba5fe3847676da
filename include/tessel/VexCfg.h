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
/// replaces "/Users/Shared". A folder or a file that cannot be made is logged; one that cannot be
/// read, is damaged, or cannot be written is not. The built-in defaults apply to keys that the file
/// lacks.
///
/// Any thread may call; a recursive lock is held for the whole of each keyed access, load and save.
/// Loads and saves block for as long as the file system does.
class TESSEL_EXPORT VexCfg {
 public:
  /// The one instance of this process, made on the first call.
  static std::shared_ptr<VexCfg> sharedCfgFile();

  /// An instance of its own: ensures the file and loads it.
  static std::shared_ptr<VexCfg> init();

  ~VexCfg();

  /// Makes the folder and the file where they are missing, and sets `fileExist`.
  void checkCfgFileExist();
  /// Reads the file into `pCfgDict`, which is none afterwards when that failed; changes that were
  /// not saved are lost. Does nothing while `fileExist` is false.
  void loadCfgFile();
  /// The same as `loadCfgFile`.
  void reLoadCfgFile();
  /// Writes the dictionary back, atomically, when it has changes. After a failure `fileModified`
  /// stays true, and a later save tries again. Does nothing while `fileExist` is false.
  void saveCfgFile();

  /// The value under `key`; none when the file was not loaded or has no such key.
  std::optional<PropertyListValue> getObjectByKey(const std::optional<std::string>& key) const;
  /// Stores a value in memory and sets `fileModified`. Without a key, a value or a loaded file
  /// nothing happens.
  void setObjectByKey(const std::optional<std::string>& key,
                      const std::optional<PropertyListValue>& object);

  /// Whether there are changes that are not yet written. Set to false, they are not written.
  bool fileModified() const;
  void setFileModified(bool fileModified);
  /// Whether the file existed, or could be made, at the last check; says nothing of permissions.
  /// While false, the file is neither read nor written.
  bool fileExist() const;
  void setFileExist(bool fileExist);
  /// A copy of the file's contents in memory; none until loaded, or when it could not be read.
  std::optional<PropertyListDictionary> pCfgDict() const;
  /// Replaces the contents in memory. Only a `fileModified` of true lets a save write them.
  void setPCfgDict(std::optional<PropertyListDictionary> pCfgDict);

 private:
  VexCfg();

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tessel
