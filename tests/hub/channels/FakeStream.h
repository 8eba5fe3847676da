#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/tessel-hub/channels/ChannelStream.h"

namespace tessel::hub {

/// A stream whose peer is the test. Handlers run within `deliver`.
class FakeStream final : public ChannelStream {
 public:
  void handshake(std::function<void(bool)> handler) override { handler(true); }

  void read(std::span<std::uint8_t> buffer, ReadHandler handler) override {
    buffer_ = buffer;
    handler_ = std::move(handler);
  }

  void send(std::span<const std::uint8_t> bytes) override {
    if (!closed) sent.insert(sent.end(), bytes.begin(), bytes.end());
  }

  void close() override { closed = true; }
  const std::string& address() const override { return address_; }

  bool isReading() const { return handler_ != nullptr; }

  /// Delivers bytes as long as a read is waiting for them; how many were taken.
  std::size_t deliver(std::span<const std::uint8_t> bytes) {
    std::size_t taken = 0;
    while (handler_ && taken < bytes.size()) {
      const std::size_t count = std::min(buffer_.size(), bytes.size() - taken);
      std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(taken), count, buffer_.begin());
      taken += count;
      std::exchange(handler_, nullptr)(count);
    }
    return taken;
  }

  /// The peer has closed.
  void end() {
    if (handler_) std::exchange(handler_, nullptr)(0);
  }

  std::vector<std::uint8_t> takeSent() { return std::exchange(sent, {}); }

  std::vector<std::uint8_t> sent;
  bool closed = false;

 private:
  const std::string address_ = "10.0.0.1";
  std::span<std::uint8_t> buffer_;
  ReadHandler handler_;
};

}  // namespace tessel::hub
