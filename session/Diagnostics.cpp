#include "tessel/Diagnostics.h"

#include <string>

#include "discovery/BluetoothFinding.h"
#include "platform/Services.h"
#include "tessel/VexCfg.h"

namespace tessel {
namespace {

using platform::services;

// Of the file that the sessions of this process use. The file itself is looked at, not what was
// read of it, and changes of the host that are not saved stay.
Finding findConfiguration() {
  auto& files = *services().files;
  const std::string folder = files.sharedFolder() + "/Lumisk";
  const std::string path = folder + "/VexCfg.plist";
  const bool used = VexCfg::sharedCfgFile()->fileExist();
  if (!used || !files.exists(path)) {
    return {"configuration", false,
            "There is no configuration file in " + folder + ", so the built-in settings hold.",
            used ? "It was removed; a new one is made at the next start."
                 : "Make the folder writable, or set TESSEL_SHARED_FOLDER to one that is."};
  }
  if (!files.readPropertyList(path)) {
    return {"configuration", false,
            "The configuration file in " + folder +
                " is damaged or may not be read, so the built-in settings hold.",
            "Remove VexCfg.plist there; a new one is made at the next start."};
  }
  return {"configuration", true, "The configuration file is " + path + ".", {}};
}

}  // namespace

std::vector<Finding> diagnose() {
  const auto desktop = services().desktops->current();
  return {desktop->screenFinding(), services().videoEncoding->finding(), desktop->inputFinding(),
          findBluetooth(), findConfiguration()};
}

}  // namespace tessel
