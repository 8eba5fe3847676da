#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <memory>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/channels/InputSender.h"
#include "apps/tessel-hub/report/HubReporter.h"
#include "apps/tessel-hub/script/Script.h"

namespace tessel::hub {

/// Plays a script into a session's input, once.
///
/// Runs on the thread of its io_context. Owned by shared_ptr; its timer keeps it alive until `stop`
/// or the script's end.
class ScriptPlayer : public std::enable_shared_from_this<ScriptPlayer> {
 public:
  /// The references are used until `stop` or the script's end.
  ScriptPlayer(asio::io_context& context, const Script& script, InputSender& input,
               HubReporter& reporter, std::function<void()> quit);

  void start();
  void stop();
  /// `count` pictures of the session have been shown by now.
  void framesShown(std::uint64_t count);

 private:
  /// Plays up to the next pause.
  void play();
  void finish();

  const Script& script_;
  InputSender& input_;
  HubReporter& reporter_;
  const std::function<void()> quit_;
  asio::steady_timer timer_;
  std::size_t next_ = 0;
  std::uint64_t framesShown_ = 0;
  std::uint64_t frameAwaited_ = 0;  // 0: none
  bool running_ = false;
  apps::ThreadChecker thread_;
};

}  // namespace tessel::hub
