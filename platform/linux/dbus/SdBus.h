#pragma once

#include <memory>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

namespace tessel::platform {

struct SdRelease {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
  void operator()(sd_event* event) const { sd_event_unref(event); }
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

/// Owners of what libsystemd hands out. Each belongs to one thread at a time.
using SdBus = std::unique_ptr<sd_bus, SdRelease>;
using SdMessage = std::unique_ptr<sd_bus_message, SdRelease>;
using SdSlot = std::unique_ptr<sd_bus_slot, SdRelease>;
using SdEvent = std::unique_ptr<sd_event, SdRelease>;
using SdEventSource = std::unique_ptr<sd_event_source, SdRelease>;

}  // namespace tessel::platform
