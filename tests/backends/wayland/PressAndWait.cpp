// Presses the left button at a place and keeps it down until it is killed.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "backends/linux/wayland/Compositors.h"
#include "backends/linux/wayland/VirtualPointer.h"

int main(int count, char** arguments) {
  const auto opened = jumplark::WaylandConnection::open();
  const auto compositor = opened.connection ? jumplark::openCompositor(opened.connection) : nullptr;
  std::unique_ptr<jumplark::SeatPointer> pointer;
  if (opened.connection && compositor) {
    pointer = compositor->makePointer(opened.connection);
  }
  if (opened.connection && !pointer) {
    pointer = jumplark::VirtualPointer::create(opened.connection);
  }
  if (!pointer || count != 3) {
    return 1;
  }
  const jumplark::Point place{std::atof(arguments[1]), std::atof(arguments[2])};
  pointer->post({jumplark::event_type::mouseMoved, place, 0});
  pointer->post({jumplark::event_type::leftMouseDown, place, 1});
  std::puts("down");
  std::fflush(stdout);
  pause();
}
