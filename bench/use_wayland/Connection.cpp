#include "Connection.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <algorithm>
#include <stdexcept>

namespace jumplark::bench {
namespace {

/// What is looked for among the compositor's globals.
struct Search {
  const wl_interface& interface;
  uint32_t version;
  void* found = nullptr;
};

constexpr wl_registry_listener kRegistry = {
    [](void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
      auto& search = *static_cast<Search*>(data);
      if (search.found == nullptr && std::string(search.interface.name) == interface) {
        search.found = wl_registry_bind(registry, name, &search.interface, std::min(version, search.version));
      }
    },
    [](void*, wl_registry*, uint32_t) {}};

}  // namespace

Connection::Connection(const std::string& socket) : display_(wl_display_connect(socket.c_str())) {
  if (display_ == nullptr) {
    throw std::runtime_error("cannot reach the compositor");
  }
}

Connection::~Connection() {
  wl_display_disconnect(display_);
}

void* Connection::bindTo(const wl_interface& interface, uint32_t version) {
  Search search{interface, version};
  const wayland::Owned<wl_registry> registry(wl_display_get_registry(display_));
  wl_registry_add_listener(registry.get(), &kRegistry, &search);
  roundtrip();
  return search.found;
}

void Connection::flush() {
  wl_display_flush(display_);
}

void Connection::roundtrip() {
  wl_display_roundtrip(display_);
}

void Connection::readEvents(int timeoutMs) {
  while (wl_display_prepare_read(display_) != 0) {
    wl_display_dispatch_pending(display_);
  }
  wl_display_flush(display_);
  pollfd waiting{wl_display_get_fd(display_), POLLIN, 0};
  if (poll(&waiting, 1, timeoutMs) > 0) {
    wl_display_read_events(display_);
  } else {
    wl_display_cancel_read(display_);
  }
  if (wl_display_dispatch_pending(display_) < 0) {
    throw std::runtime_error("the compositor has gone");
  }
}

double Connection::until(Clock::time_point start, const std::function<bool()>& condition) {
  constexpr int kGlanceMs = 1;
  while (!condition()) {
    if (Clock::now() - start > kPatience) {
      throw std::runtime_error("what is waited for did not happen in ten seconds");
    }
    readEvents(kGlanceMs);
  }
  return millisecondsSince(start);
}

Picture::Picture(wl_shm* shm, int width, int height, uint32_t format, uint32_t colour)
    : count_(static_cast<size_t>(width) * static_cast<size_t>(height)) {
  const int memory = memfd_create("bench-picture", MFD_CLOEXEC);
  void* mapped = MAP_FAILED;
  if (memory >= 0 && ftruncate(memory, static_cast<off_t>(count_ * 4)) == 0) {
    mapped = mmap(nullptr, count_ * 4, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
  }
  if (mapped == MAP_FAILED) {
    throw std::runtime_error("no memory for a picture");
  }
  pixels_ = static_cast<uint32_t*>(mapped);
  std::fill_n(pixels_, count_, colour);
  const wayland::Owned<wl_shm_pool> pool(wl_shm_create_pool(shm, memory, static_cast<int32_t>(count_ * 4)));
  buffer_.reset(wl_shm_pool_create_buffer(pool.get(), 0, width, height, width * 4, format));
  close(memory);
}

Picture::~Picture() {
  munmap(pixels_, count_ * 4);
}

}  // namespace jumplark::bench
