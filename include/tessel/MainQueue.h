#pragma once

#include "tessel/Export.h"

/// The main queue: heartbeats, the hub directory and the end of a broken session run on it.
/// A library cannot own a program's main thread, so the host runs the queue in one of two ways.
///
/// 1. A program without an event loop calls `runMainQueue()` on its main thread.
/// 2. A program with one (Qt, GTK, plain poll) watches `mainQueueFileDescriptor()` and calls
///    `drainMainQueue()` on its main thread whenever that descriptor is readable.
namespace tessel {

/// Runs the main queue on the calling thread until `stopMainQueue()`. What is left then stays for
/// the next run. Not reentrant.
TESSEL_EXPORT void runMainQueue();

/// Makes `runMainQueue()` return once the operation now running has finished. Any thread, and a
/// signal handler too, once a session was made or another function of this header has returned. A
/// stop that comes before the run makes the next run return at once.
TESSEL_EXPORT void stopMainQueue();

/// A descriptor that polls readable while the main queue has something to run; the same at each
/// call. It belongs to the library: never read from it, never close it. -1 when the system has no
/// descriptor left; a later call tries again. Any thread.
TESSEL_EXPORT int mainQueueFileDescriptor();

/// Runs what is ready on the main queue and returns without waiting; what that adds is left to the
/// next call. Always the same thread.
TESSEL_EXPORT void drainMainQueue();

}  // namespace tessel
