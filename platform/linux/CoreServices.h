#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/SystemLog.h"

/// Time, queues, connections and the log.
namespace tessel::platform {

std::shared_ptr<Clock> makeClock();

std::shared_ptr<Queues> makeQueues();

/// `timeout` bounds the way to the ready state: name, connect and TLS handshake together.
std::shared_ptr<Network> makeNetwork(Clock::Duration timeout = std::chrono::seconds{30});

/// The journal; not available where nothing listens at `socketPath`.
std::shared_ptr<SystemLog> makeSystemLog(
    const std::string& socketPath = "/run/systemd/journal/socket");

}  // namespace tessel::platform
