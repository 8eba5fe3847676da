#pragma once

namespace tessel::test {

/// The file of settings that hosts share, and its one entry.
inline constexpr const char* kSettingsFile = "/Users/Shared/Lumisk/VexCfg.plist";
inline constexpr const char* kAutoDisconnectKey = "AutoDisconnectCastingWhenCloseLaptop";

}  // namespace tessel::test
