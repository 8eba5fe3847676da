#include "tessel/Diagnostics.h"

#include <string>

#include "discovery/BluetoothFinding.h"
#include "platform/Services.h"
#include "tessel/VexCfg.h"

namespace tessel {
namespace {

using platform::services;

Finding findConfiguration() {
  const std::string folder = services().files->sharedFolder() + "/Lumisk";
  const auto file = VexCfg::init();
  if (!file->fileExist()) {
    return {"configuration", false,
            "There is no configuration file in " + folder + ", so the built-in settings hold.",
            "Make the folder writable, or set TESSEL_SHARED_FOLDER to one that is."};
  }
  if (!file->pCfgDict()) {
    return {"configuration", false,
            "The configuration file in " + folder +
                " is damaged or may not be read, so the built-in settings hold.",
            "Remove VexCfg.plist there; a new one is made at the next start."};
  }
  return {"configuration", true, "The configuration file is " + folder + "/VexCfg.plist.", {}};
}

}  // namespace

std::vector<Finding> diagnose() {
  const auto desktop = services().desktops->current();
  return {desktop->screenFinding(), services().videoEncoding->finding(), desktop->inputFinding(),
          findBluetooth(), findConfiguration()};
}

}  // namespace tessel
