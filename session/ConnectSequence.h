#pragma once

#include <memory>
#include <optional>

#include "tessel/Error.h"

namespace tessel {

class TSLSession;

/// Connects a session: device details, display, mouse and keyboard channel, each started from the
/// completion of the one before, on that completion's thread. A failed step ends the sequence.
///
/// The session is held weakly while the sequence waits and while a channel's start blocks. No step
/// looks at the session's state: one that completes after a `disconnect` starts the next as usual.
void runConnectSequence(const std::weak_ptr<TSLSession>& session);

/// The sequence's last step, the completion of the keyboard channel's start. Public to the tests:
/// no input makes that channel fail after the display channel has succeeded.
void finishConnecting(const std::shared_ptr<TSLSession>& session,
                      const std::optional<Error>& error);

}  // namespace tessel
