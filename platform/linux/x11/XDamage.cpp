#include "platform/linux/x11/XDamage.h"

namespace tessel::platform {
namespace {

bool understands(const XConnection& connection) {
  if (!connection.has(xcb_damage_id) || !connection.has(xcb_xfixes_id)) return false;
  // Both want to be told which version their client speaks.
  const auto damage = connection.reply(xcb_damage_query_version_reply,
                                       xcb_damage_query_version(connection.get(), 1, 1));
  const auto fixes = connection.reply(xcb_xfixes_query_version_reply,
                                      xcb_xfixes_query_version(connection.get(), 2, 0));
  return damage && fixes && fixes->major_version >= 2;
}

}  // namespace

XDamage::XDamage(XConnection& connection) : connection_{connection} {
  if (!understands(connection)) return;
  notifyEvent_ = xcb_get_extension_data(connection.get(), &xcb_damage_id)->first_event;
  damage_ = xcb_generate_id(connection.get());
  region_ = xcb_generate_id(connection.get());
  // One event when the first change comes; the rest is kept by the server until it is taken.
  xcb_damage_create(connection.get(), damage_, connection.root(),
                    XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  xcb_xfixes_create_region(connection.get(), region_, 0, nullptr);
  connection.flush();
}

XDamage::~XDamage() {
  if (damage_ == 0) return;
  xcb_damage_destroy(connection_.get(), damage_);
  xcb_xfixes_destroy_region(connection_.get(), region_);
}

void XDamage::handle(const xcb_generic_event_t& event) {
  if (available() && (event.response_type & 0x7FU) == notifyEvent_ + XCB_DAMAGE_NOTIFY) {
    pending_ = true;
  }
}

std::vector<PixelArea> XDamage::take() {
  std::vector<PixelArea> areas;
  if (!available()) return areas;
  // Cleared first: what changes from here on announces itself again.
  pending_ = false;
  xcb_damage_subtract(connection_.get(), damage_, XCB_NONE, region_);
  const auto region = connection_.reply(xcb_xfixes_fetch_region_reply,
                                        xcb_xfixes_fetch_region(connection_.get(), region_));
  if (!region) return areas;
  const xcb_rectangle_t* rectangles = xcb_xfixes_fetch_region_rectangles(region.get());
  const int count = xcb_xfixes_fetch_region_rectangles_length(region.get());
  for (int index = 0; index < count; ++index) {
    areas.push_back({rectangles[index].x, rectangles[index].y, rectangles[index].width,
                     rectangles[index].height});
  }
  return areas;
}

}  // namespace tessel::platform
