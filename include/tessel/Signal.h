#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "tessel/OperationQueue.h"

namespace tessel {

/// A stream of values. They arrive on a thread that sends or subscribes, unless `deliverOn` moved
/// them. A subscription lasts as long as the stream; hold
/// objects weakly in a subscriber that may outlive them.
template <typename T>
class Signal : public std::enable_shared_from_this<Signal<T>> {
 public:
  using Next = std::function<void(const T&)>;

  virtual ~Signal() = default;

  /// Calls `next` for every value from now on.
  virtual void subscribeNext(Next next) = 0;

  /// The values for which `accept` holds. It runs where the values are sent.
  std::shared_ptr<Signal> filter(std::function<bool(const T&)> accept);

  /// The same values, in order, delivered on `queue`.
  std::shared_ptr<Signal> deliverOn(std::shared_ptr<OperationQueue> queue);
};

/// A signal with a sender. It keeps the last value and replays it to a new subscriber.
///
/// Any thread. Each subscriber receives one value at a time, in the order in which they were sent,
/// so that its last one is the last one of all. While one thread delivers, values that others send
/// or that are replayed are queued for that thread: `sendNext` and `subscribeNext` then return at
/// once. No lock is held while subscribers run; they may call in, and must not throw.
template <typename T>
class ReplaySubject : public Signal<T> {
 public:
  using typename Signal<T>::Next;

  void sendNext(const T& value) {
    {
      const std::lock_guard lock{mutex_};
      last_ = value;
      for (const auto& next : subscribers_) queued_.push_back({next, value});
    }
    deliver();
  }

  void subscribeNext(Next next) override {
    {
      const std::lock_guard lock{mutex_};
      subscribers_.push_back(std::make_shared<const Next>(std::move(next)));
      if (last_) queued_.push_back({subscribers_.back(), *last_});
    }
    deliver();
  }

 private:
  struct Call {
    std::shared_ptr<const Next> next;
    T value;
  };

  // Makes the queued calls, unless another thread, or a caller of this one, is doing so.
  void deliver() {
    const auto held = this->weak_from_this().lock();  // a subscriber may drop the last reference
    std::unique_lock lock{mutex_};
    if (delivering_) return;
    delivering_ = true;
    while (!queued_.empty()) {
      std::optional<Call> call{std::move(queued_.front())};
      queued_.pop_front();
      lock.unlock();
      (*call->next)(call->value);
      call.reset();  // the value's end may call in
      lock.lock();
    }
    delivering_ = false;
  }

  std::mutex mutex_;  // guards all below
  std::vector<std::shared_ptr<const Next>> subscribers_;
  std::optional<T> last_;
  std::deque<Call> queued_;
  bool delivering_ = false;
};

/// A signal defined by a function that subscribes to another one.
template <typename T>
class DerivedSignal : public Signal<T> {
 public:
  using typename Signal<T>::Next;

  explicit DerivedSignal(std::function<void(Next)> subscribe) : subscribe_{std::move(subscribe)} {}

  void subscribeNext(Next next) override { subscribe_(std::move(next)); }

 private:
  const std::function<void(Next)> subscribe_;
};

template <typename T>
std::shared_ptr<Signal<T>> Signal<T>::filter(std::function<bool(const T&)> accept) {
  return std::make_shared<DerivedSignal<T>>(
      [source = this->shared_from_this(), accept = std::move(accept)](Next next) {
        source->subscribeNext([accept, next = std::move(next)](const T& value) {
          if (accept(value)) next(value);
        });
      });
}

template <typename T>
std::shared_ptr<Signal<T>> Signal<T>::deliverOn(std::shared_ptr<OperationQueue> queue) {
  return std::make_shared<DerivedSignal<T>>(
      [source = this->shared_from_this(), queue = std::move(queue)](Next next) {
        source->subscribeNext([queue, next = std::move(next)](const T& value) {
          queue->addOperation([next, value] { next(value); });
        });
      });
}

}  // namespace tessel
