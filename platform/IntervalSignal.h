#pragma once

#include <memory>

#include "platform/Queues.h"
#include "tessel/Signal.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// A signal that sends the date on `queue`, every `period` counted from each subscription. It ends
/// with its last reference. Any thread.
std::shared_ptr<Signal<Date>> intervalSignal(const std::shared_ptr<SerialQueue>& queue,
                                             Clock::Duration period);

}  // namespace tessel::platform
