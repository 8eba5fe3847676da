#pragma once

#include <cstdint>
#include <memory>

#include "tessel/Export.h"
#include "tessel/Types.h"

namespace tessel {

/// The settings of one session. Any thread may call.
class TESSEL_EXPORT TSLSessionConfigration {
 public:
  ~TSLSessionConfigration();
  TSLSessionConfigration(const TSLSessionConfigration&) = delete;
  TSLSessionConfigration& operator=(const TSLSessionConfigration&) = delete;

  /// The built-in defaults, overridden from the configuration file's current contents.
  static std::shared_ptr<TSLSessionConfigration> initWithDefaultvalue();

  /// Reads the configuration file again and takes over what it sets.
  void loadSettingFromCfgFile();

  /// The longest time in seconds for which the hub may fail to report its application as running
  /// before the session ends itself. 20 unless set; not read from the file.
  double HeartBeatTimeout() const;
  void setHeartBeatTimeout(double seconds);

  /// Whether casting is to end when the laptop's lid is closed: 1 or 0. Only stored here; acting on
  /// it is the host's business.
  std::int64_t autoDisconnectCastingWhenCloseLaptop() const;
  void setAutoDisconnectCastingWhenCloseLaptop(std::int64_t flag);

  /// The size of the picture on the hub, in points.
  Size sessionSize() const;
  void setSessionSize(Size sessionSize);

 private:
  TSLSessionConfigration();

  struct Fields;
  const std::unique_ptr<Fields> fields_;
};

}  // namespace tessel
