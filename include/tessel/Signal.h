#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "tessel/OperationQueue.h"

namespace tessel {

/// A stream of values that anybody may subscribe to. Values arrive on the thread that sends them
/// unless `deliverOn` moved them. A subscription lasts as long as the stream; hold objects weakly
/// in a subscriber that may outlive them.
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

/// A signal that one sends into. It remembers the last value and gives it to a new subscriber
/// at once. Any thread; no lock is held while subscribers run.
template <typename T>
class ReplaySubject : public Signal<T> {
 public:
  using typename Signal<T>::Next;

  void sendNext(const T& value) {
    std::vector<Next> subscribers;
    {
      const std::lock_guard lock{mutex_};
      last_ = value;
      subscribers = subscribers_;
    }
    for (const auto& next : subscribers) next(value);
  }

  void subscribeNext(Next next) override {
    std::optional<T> last;
    {
      const std::lock_guard lock{mutex_};
      subscribers_.push_back(next);
      last = last_;
    }
    if (last) next(*last);
  }

 private:
  std::mutex mutex_;  // guards both members below
  std::vector<Next> subscribers_;
  std::optional<T> last_;
};

/// A signal made of a function that subscribes to another one.
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
