#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "tessel/BVBeacon.h"
#include "tessel/Export.h"
#include "tessel/Signal.h"
#include "tessel/Types.h"

namespace tessel {

/// The proximity UUID of every hub: 7D1E4B9A-2C63-4F08-A5B7-91E0C4D2F86B.
TESSEL_EXPORT extern const UUID TSLHubProximityUUID;

/// What happened to one entry of a hub list.
struct BeaconListChange {
  enum class Kind {
    kInsertion,  ///< `beacon` is now at `index`
    kRemoval,    ///< `beacon` was at `index`
    kUpdate,     ///< signal, time, address or name of the entry at `index` changed
  };
  Kind kind;
  std::size_t index;
  std::shared_ptr<BVBeacon> beacon;
};

/// The list of the hubs in range, in the order of their discovery, with their signal strengths,
/// addresses and friendly names. A hub leaves it when not heard for more than 15 seconds.
///
/// Discovery runs for as long as the object lives; there is no start and no stop. The list changes
/// on the main queue only, so that must run (see tessel/MainQueue.h).
class TESSEL_EXPORT TSLDiscovery : public std::enable_shared_from_this<TSLDiscovery> {
 public:
  using Observer = std::function<void(const BeaconListChange&)>;

  /// What `rowForBeacon` returns for a beacon that is not listed.
  static constexpr std::int64_t kNotFound = std::numeric_limits<std::int64_t>::max();

  /// A list of its own, empty at first, fed by the scanner of this process. Any thread.
  static std::shared_ptr<TSLDiscovery> init();
  ~TSLDiscovery();

  /// A snapshot of the list. Any thread.
  std::vector<std::shared_ptr<BVBeacon>> beacons() const;
  /// Calls `observer` on the main queue for every change from now on, one at a time, in order, for
  /// as long as the directory lives: an observer cannot be removed, so it holds weakly what may be
  /// destroyed before. Any thread.
  void observeBeacons(Observer observer);

  /// The scanner's beacons with the hubs' proximity UUID, on the scanner's queue or on a thread
  /// that subscribes just then; a new subscriber first gets the last one heard (see Signal).
  std::shared_ptr<Signal<std::shared_ptr<BVBeacon>>> beaconSignal() const;
  /// The housekeeping tick: the date, every 2 seconds, on the main queue.
  std::shared_ptr<Signal<Date>> housekeepingSignal() const;

  /// Index of the first entry with the same major and minor, or `kNotFound`.
  std::int64_t rowForBeacon(const std::shared_ptr<BVBeacon>& beacon) const;

  /// @name Changes of the list; main queue only. Null is ignored, and so is an index past its end
  /// @{
  /// Puts `beacon` before the entry at `index`, which is at most the length of the list; beyond,
  /// nothing happens.
  void insertObjectInBeaconsAtIndex(const std::shared_ptr<BVBeacon>& beacon, std::size_t index);
  /// Takes the entry at `index` out; nothing happens where there is none.
  void removeObjectFromBeaconsAtIndex(std::size_t index);
  /// Refreshes the beacon's name, then appends it.
  void addBeaconsObject(const std::shared_ptr<BVBeacon>& beacon);
  /// Marks the beacon as heard now, then fetches its name.
  void updateFriendlyNameForBeacon(const std::shared_ptr<BVBeacon>& beacon);
  /// Derives the beacon's address from major and minor and, when it is a valid one, fetches the
  /// hub's name.
  void friendlyNameForBeacon(const std::shared_ptr<BVBeacon>& beacon);
  /// @}

 private:
  TSLDiscovery();
  void subscribe();
  void heard(const std::shared_ptr<BVBeacon>& beacon);
  void removeSilent(Date tick);
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tessel
