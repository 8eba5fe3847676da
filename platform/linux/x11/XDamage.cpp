#include "platform/linux/x11/XDamage.h"

namespace tessel::platform {
namespace {

bool isSupported(const XConnection& connection) {
  if (!connection.has(xcb_damage_id) || !connection.has(xcb_xfixes_id)) return false;
  // Both require the client to announce its version before any other request.
  const auto damage = connection.reply(xcb_damage_query_version_reply,
                                       connection.request(xcb_damage_query_version, 1, 1));
  const auto fixes = connection.reply(xcb_xfixes_query_version_reply,
                                      connection.request(xcb_xfixes_query_version, 2, 0));
  return damage && fixes && fixes->major_version >= 2;
}

}  // namespace

XDamage::XDamage(XConnection& connection) : connection_{connection} {
  if (!isSupported(connection)) return;
  notifyEvent_ = connection.firstEvent(xcb_damage_id);
  damage_ = connection.generateID();
  region_ = connection.generateID();
  // One event when the region becomes non-empty; the server accumulates the rest until `take`.
  connection.request(xcb_damage_create, damage_, connection.root(),
                     XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  connection.request(xcb_xfixes_create_region, region_, 0, nullptr);
  connection.flush();
}

XDamage::~XDamage() {
  if (damage_ == 0) return;
  connection_.request(xcb_damage_destroy, damage_);
  connection_.request(xcb_xfixes_destroy_region, region_);
}

void XDamage::handle(const xcb_generic_event_t& event) {
  if (available() && (event.response_type & 0x7FU) == notifyEvent_ + XCB_DAMAGE_NOTIFY) {
    pending_ = true;
  }
}

std::vector<PixelArea> XDamage::take() {
  std::vector<PixelArea> areas;
  if (!available()) return areas;
  // Cleared first: a later change makes a new event.
  pending_ = false;
  connection_.request(xcb_damage_subtract, damage_, XCB_NONE, region_);
  const auto region = connection_.reply(xcb_xfixes_fetch_region_reply,
                                        connection_.request(xcb_xfixes_fetch_region, region_));
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
