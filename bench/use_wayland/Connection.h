#pragma once

#include <wayland-client-protocol.h>

#include <cstdint>
#include <functional>
#include <string>

#include "backends/linux/wayland/surfaces/Owned.h"
#include "use/Figures.h"

namespace jumplark::bench {

/// A client of a compositor whose events are handled while something is waited for. Errors throw std::runtime_error.
/// One thread.
class Connection {
 public:
  /// `socket` is the compositor's path.
  explicit Connection(const std::string& socket);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  wl_display* display() const { return display_; }
  /// What the compositor offers of that interface, null where it does not; the caller's.
  template <typename Proxy>
  Proxy* bind(const wl_interface& interface, uint32_t version = 1) {
    return static_cast<Proxy*>(bindTo(interface, version));
  }
  void flush();
  void roundtrip();
  /// Milliseconds from `start` until the condition, which is asked after every event and now and then, holds.
  double until(Clock::time_point start, const std::function<bool()>& condition);

 private:
  void* bindTo(const wl_interface& interface, uint32_t version);
  void readEvents(int timeoutMs);

  wl_display* display_;
};

/// Pixels shared with the compositor, of one colour at first.
class Picture {
 public:
  Picture(wl_shm* shm, int width, int height, uint32_t format, uint32_t colour = 0xFFFFFFFF);
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture();

  wl_buffer* buffer() const { return buffer_.get(); }
  const uint32_t* begin() const { return pixels_; }
  const uint32_t* end() const { return pixels_ + count_; }

 private:
  size_t count_;
  uint32_t* pixels_ = nullptr;
  wayland::Owned<wl_buffer> buffer_;
};

}  // namespace jumplark::bench
