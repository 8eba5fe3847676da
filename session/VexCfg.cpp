#include "tessel/VexCfg.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"

namespace tessel {
namespace {

constexpr const char* kFileName = "VexCfg.plist";

std::string folderPath() { return platform::services().files->sharedFolder() + "/Lumisk"; }

std::string filePath() { return folderPath() + "/" + kFileName; }

// Copies the library's own default file to `path`; whether it is there now.
bool createFromDefault(const std::string& path) {
  constexpr const char* name = "-[VexCfg checkCfgFileExist]";
  auto& files = *platform::services().files;
  const auto bundle = files.bundle();
  if (!bundle) {
    platform::log("%s: Failed to get bundle", name);
    return false;
  }
  const auto resource = files.resourcePath(*bundle, kFileName);
  if (!resource) {
    platform::log("%s: Failed to find path for '%s' in bundle: %s", name, kFileName,
                  bundle->description.c_str());
    return false;
  }
  if (const auto error = files.copy(*resource, path)) {
    platform::log("%s: Failed to copy '%s' to '%s'. Error: %s", name, resource->c_str(),
                  path.c_str(), platform::describe(*error).c_str());
    return false;
  }
  return true;
}

}  // namespace

struct VexCfg::State {
  // Guards the dictionary, and is held over reads and writes of the file.
  std::recursive_mutex mutex;
  std::optional<PropertyListDictionary> pCfgDict;
  std::atomic<bool> fileModified = false;
  std::atomic<bool> fileExist = false;
};

VexCfg::VexCfg() : state_{std::make_unique<State>()} {}

VexCfg::~VexCfg() = default;

std::shared_ptr<VexCfg> VexCfg::sharedCfgFile() {
  // Never destroyed: a session may still be made while the process exits.
  static const auto& shared = *new std::shared_ptr<VexCfg>{init()};
  return shared;
}

std::shared_ptr<VexCfg> VexCfg::init() {
  std::shared_ptr<VexCfg> file{new VexCfg};
  file->checkCfgFileExist();
  file->loadCfgFile();
  return file;
}

void VexCfg::checkCfgFileExist() {
  auto& files = *platform::services().files;
  const auto folder = folderPath();
  if (!files.exists(folder)) {
    if (const auto error = files.createDirectory(folder)) {
      platform::log("%s: Failed to create '%s'. Error: %s", "-[VexCfg checkCfgFileExist]",
                    folder.c_str(), platform::describe(*error).c_str());
      setFileExist(false);
      return;
    }
  }
  setFileExist(files.exists(filePath()) || createFromDefault(filePath()));
}

void VexCfg::loadCfgFile() {
  if (!fileExist()) return;
  const std::lock_guard lock{state_->mutex};
  state_->pCfgDict = platform::services().files->readPropertyList(filePath());
}

void VexCfg::reLoadCfgFile() { loadCfgFile(); }

void VexCfg::saveCfgFile() {
  if (!fileExist()) return;
  const std::lock_guard lock{state_->mutex};
  if (!state_->pCfgDict || !fileModified()) return;
  if (platform::services().files->writePropertyListAtomically(filePath(), *state_->pCfgDict)) {
    setFileModified(false);
  }
}

std::optional<PropertyListValue> VexCfg::getObjectByKey(
    const std::optional<std::string>& key) const {
  const std::lock_guard lock{state_->mutex};
  if (!key || !state_->pCfgDict) return std::nullopt;
  const auto found = state_->pCfgDict->find(*key);
  if (found == state_->pCfgDict->end()) return std::nullopt;
  return found->second;
}

void VexCfg::setObjectByKey(const std::optional<std::string>& key,
                            const std::optional<PropertyListValue>& object) {
  if (!key || !object) return;
  const std::lock_guard lock{state_->mutex};
  if (!state_->pCfgDict) return;
  state_->pCfgDict->insert_or_assign(*key, *object);
  setFileModified(true);
}

bool VexCfg::fileModified() const { return state_->fileModified; }

void VexCfg::setFileModified(bool fileModified) { state_->fileModified = fileModified; }

bool VexCfg::fileExist() const { return state_->fileExist; }

void VexCfg::setFileExist(bool fileExist) { state_->fileExist = fileExist; }

std::optional<PropertyListDictionary> VexCfg::pCfgDict() const {
  const std::lock_guard lock{state_->mutex};
  return state_->pCfgDict;
}

void VexCfg::setPCfgDict(std::optional<PropertyListDictionary> pCfgDict) {
  const std::lock_guard lock{state_->mutex};
  std::swap(state_->pCfgDict, pCfgDict);
}

}  // namespace tessel
