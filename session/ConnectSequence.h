#pragma once

#include <memory>

namespace tessel {

class TSLSession;

/// Brings a session up: device details, display, mouse and keyboard channel, each started from the
/// completion of the one before, on whatever thread that comes. A failed step ends it.
///
/// Nothing here keeps the session alive while it waits or while a channel's start blocks, and no
/// step looks at the session's state: one that completes after a `disconnect` still goes on.
void runConnectSequence(const std::weak_ptr<TSLSession>& session);

}  // namespace tessel
