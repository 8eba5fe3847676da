#pragma once

#include <condition_variable>
#include <mutex>

// Clang checks these with -Wthread-safety; other compilers see nothing.
#if defined(__clang__)
#define TESSEL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define TESSEL_THREAD_ANNOTATION(x)
#endif

/// On a member: it is read and written with this mutex held.
#define TESSEL_GUARDED_BY(mutex) TESSEL_THREAD_ANNOTATION(guarded_by(mutex))
/// On a function (or after a lambda's parameters): called with this mutex held.
#define TESSEL_REQUIRES(...) TESSEL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))

namespace tessel::platform {

/// A std::mutex whose use clang can check. Held through MutexLock only.
class TESSEL_THREAD_ANNOTATION(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Tells clang that the calling thread holds it, where clang cannot see that.
  void assertHeld() const TESSEL_THREAD_ANNOTATION(assert_capability(this)) {}

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

/// Holds a Mutex while it lives.
class TESSEL_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) TESSEL_THREAD_ANNOTATION(acquire_capability(mutex))
      : lock_{mutex.mutex_} {}
  ~MutexLock() TESSEL_THREAD_ANNOTATION(release_capability()) = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  /// Lets the mutex go and takes it again, for a call that must not be made with it held.
  void unlock() TESSEL_THREAD_ANNOTATION(release_capability()) { lock_.unlock(); }
  void lock() TESSEL_THREAD_ANNOTATION(acquire_capability()) { lock_.lock(); }

  /// For std::condition_variable and Clock::wait, which let the mutex go only while they sleep.
  std::unique_lock<std::mutex>& native() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace tessel::platform
