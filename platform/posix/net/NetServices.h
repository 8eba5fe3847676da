#pragma once

#include <chrono>
#include <memory>

#include "platform/Clock.h"
#include "platform/NetworkConnection.h"
#include "platform/Queues.h"

/// Makers of the services that stand on Asio.
namespace tessel::platform {

std::shared_ptr<Queues> makeQueues();

/// `timeout` bounds the way to the ready state: name, connect and TLS handshake together.
std::shared_ptr<Network> makeNetwork(Clock::Duration timeout = std::chrono::seconds{30});

}  // namespace tessel::platform
