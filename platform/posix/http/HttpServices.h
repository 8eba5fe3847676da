#pragma once

#include <memory>

#include "platform/Queues.h"
#include "platform/URLSessions.h"

namespace tessel::platform {

/// HTTP through libcurl. Completions come on queues of `queues`.
std::shared_ptr<URLSessions> makeURLSessions(std::shared_ptr<Queues> queues);

}  // namespace tessel::platform
