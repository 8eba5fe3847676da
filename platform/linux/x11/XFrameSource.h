#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "platform/media/PixelBufferPool.h"

namespace tessel::platform {

/// Pictures of one monitor of an X server, scaled to one size. It reads only what has changed. It
/// believes the server about what has changed until it catches it lying (`verify`); from then on
/// it looks for itself. Belongs to one thread, which holds a PipeSignalGuard.
class XFrameSource {
 public:
  /// Of the server at `display`, the monitor with that name, or the first one when it is gone. Null
  /// without a server, or when its pixels cannot be read.
  static std::unique_ptr<XFrameSource> open(const std::string& display, std::uint32_t monitorName,
                                            int width, int height);

  /// Becomes readable when the server has something to say.
  int descriptor() const { return xcb_get_file_descriptor(connection_->get()); }

  /// False once the server has gone.
  bool alive() const { return connection_->alive(); }

  /// Whether it has gone only in so far as it did not answer: it may answer again.
  bool silent() const { return connection_->silent(); }

  /// Takes in what the server has said. To be called whenever `descriptor` may have become
  /// readable.
  void processEvents();

  /// Whether a picture should be tried. While polling, always.
  bool changed() const { return polling_ || whole_ || damage_.pending() || !damaged_.empty(); }

  /// Whether changes are looked for rather than told.
  bool polling() const { return polling_; }

  /// A picture of the monitor as it is now; null when nothing has changed after all.
  std::shared_ptr<const PixelBuffer> capture();

  /// Looks at a part of the monitor, another one each time, for changes that the server has not
  /// told. Returns whether it wants to be called again soon to be sure.
  bool verify();

 private:
  XFrameSource(std::unique_ptr<XConnection> connection, XPixelFormat format,
               std::uint32_t monitorName, int width, int height);

  void refreshLayout();
  void collectDamage();
  std::vector<PixelArea> areasToRead() const;
  std::vector<PixelArea> nextStrips(int step);
  std::vector<PixelArea> strayStrips(const std::vector<PixelArea>& strips);
  bool read(const std::vector<PixelArea>& areas, const PlanarPicture& into);
  bool capturePolled();
  bool captureTold();
  std::shared_ptr<const PixelBuffer> output();

  const std::unique_ptr<XConnection> connection_;
  const XPixelFormat format_;
  const std::uint32_t monitorName_;
  XDamage damage_;
  XGrabber grabber_;
  PixelBufferPool outputs_;  // pictures of the size wanted

  PixelArea monitor_;  // in the root window; empty until it is known
  bool layoutChanged_ = true;
  std::unique_ptr<PixelBufferPool> canvases_;  // pictures of the monitor's size
  PooledPicture canvas_;                       // the monitor as last read

  bool whole_ = true;                // the canvas shows nothing of use yet
  std::vector<PixelArea> damaged_;   // told, not yet read; in the monitor
  std::vector<PixelArea> suspects_;  // found changed, not yet told; in the monitor

  bool polling_ = false;
  int idlePolls_ = 0;   // in a row that found nothing
  int stripPhase_ = 0;  // which strips are next
};

}  // namespace tessel::platform
