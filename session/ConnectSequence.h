#pragma once

#include <memory>
#include <optional>

#include "tessel/Error.h"

namespace tessel {

class TSLSession;

/// Brings a session up: device details, display, mouse and keyboard channel, each started from the
/// completion of the one before, on whatever thread that comes. A failed step ends it.
///
/// Nothing here keeps the session alive while it waits or while a channel's start blocks, and no
/// step looks at the session's state: one that completes after a `disconnect` still goes on.
void runConnectSequence(const std::weak_ptr<TSLSession>& session);

/// The sequence's last step: what the keyboard channel's start came to. Apart, since that channel
/// has no failure of its own that the display channel would not have met before it.
void finishConnecting(const std::shared_ptr<TSLSession>& session,
                      const std::optional<Error>& error);

}  // namespace tessel
