#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "platform/media/PictureScaler.h"
#include "platform/media/PixelBufferPool.h"

namespace tessel::platform {

/// Pictures of one monitor of an X server, scaled to one size. Reads and scales only what has
/// changed. Uses DAMAGE until `verify` finds an unreported change, then polls. One thread.
class XFrameSource {
 public:
  /// Of the server at `display`, the monitor with that name, or the first one when it is gone. Null
  /// without a server, or when its pixel format is unknown.
  static std::unique_ptr<XFrameSource> open(const std::string& display, std::uint32_t monitorName,
                                            int width, int height);

  /// Becomes readable when the server has sent something.
  int descriptor() const { return connection_->descriptor(); }

  /// False once the server has gone.
  bool alive() const { return connection_->alive(); }

  /// Whether the connection was given up because the server did not answer: it may answer again.
  bool silent() const { return connection_->silent(); }

  /// Handles what the server has sent. To be called whenever `descriptor` may have become readable.
  void processEvents();

  /// Whether there may be a new picture. While polling, always.
  bool changed() const { return polling_ || whole_ || damage_.pending() || !damaged_.empty(); }

  /// Whether changes are found by reading the screen rather than by DAMAGE.
  bool polling() const { return polling_; }

  /// A picture of the monitor as it is now; null when nothing has changed after all.
  std::shared_ptr<const PixelBuffer> capture();

  /// Reads a part of the monitor, another one each time, and looks for changes that DAMAGE has not
  /// reported. True when it has found one that may still be reported: call again soon.
  bool verify();

 private:
  XFrameSource(std::unique_ptr<XConnection> connection, XPixelFormat format,
               std::uint32_t monitorName, int width, int height);

  PixelArea wholeArea() const { return {0, 0, monitor_.width, monitor_.height}; }
  void refreshLayout();
  void collectDamage();
  std::vector<PixelArea> areasToRead() const;
  std::vector<PixelArea> nextStrips(int step);
  std::vector<PixelArea> changedStrips(const std::vector<PixelArea>& strips);
  bool read(const std::vector<PixelArea>& areas, const PlanarPicture& into);
  std::vector<PixelArea> updateByDamage();
  std::vector<PixelArea> updateByPolling();
  void scale(const std::vector<PixelArea>& areas);

  const std::unique_ptr<XConnection> connection_;
  const XPixelFormat format_;
  const std::uint32_t monitorName_;
  XDamage damage_;
  XGrabber grabber_;

  PixelArea monitor_;  // in the root window; empty until it is known
  bool layoutChanged_ = true;
  std::unique_ptr<PixelBufferPool> canvases_;  // pictures of the monitor's size
  PooledPicture canvas_;                       // the monitor as last read

  PixelBufferPool outputs_;              // pictures of the output's size
  std::optional<PictureScaler> scaler_;  // none where the monitor has the output's size
  PooledPicture scaled_;                 // the canvas, scaled

  bool whole_ = true;                  // the canvas is to be read as a whole
  std::vector<PixelArea> damaged_;     // reported, not yet read; in the monitor
  std::vector<PixelArea> unreported_;  // found changed, not yet reported; in the monitor

  bool polling_ = false;
  int idlePolls_ = 0;   // consecutive polls without a change
  int stripPhase_ = 0;  // which strips are next
};

}  // namespace tessel::platform
