#pragma once

#include <systemd/sd-bus.h>

#include <memory>

/// Owners of the C library's reference-counted objects. Included by implementation files only.
namespace jumplark::atspi {

struct SdBusDeleter {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using SessionBusConnection = std::unique_ptr<sd_bus, SdBusDeleter>;
using MessagePointer = std::unique_ptr<sd_bus_message, SdBusDeleter>;
using SlotPointer = std::unique_ptr<sd_bus_slot, SdBusDeleter>;

}  // namespace jumplark::atspi
