#include "SwayOnlooker.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client.h>
#include <wlr-screencopy-unstable-v1-client-protocol.h>
#include <xdg-shell-client-protocol.h>

#include <algorithm>
#include <stdexcept>

namespace jumplark::bench {
namespace {

constexpr char kKeymap[] =
    "xkb_keymap { xkb_keycodes { include \"evdev+aliases(qwerty)\" }; xkb_types { include \"complete\" };"
    " xkb_compat { include \"complete\" }; xkb_symbols { include \"pc+us+inet(evdev)\" }; };";
/// Keys that are modifiers, and their bits.
const std::map<uint32_t, uint32_t> kModifiers = {{42, 1U}, {125, 64U}};

uint32_t now() {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

}  // namespace

/// Pixels shared with the compositor, white at first.
struct SwayOnlooker::Buffer {
  Buffer(wl_shm* shm, int width, int height, uint32_t format, uint32_t colour = 0xFFFFFFFF)
      : count(static_cast<size_t>(width) * static_cast<size_t>(height)) {
    const int memory = memfd_create("bench-picture", MFD_CLOEXEC);
    void* mapped = MAP_FAILED;
    if (memory >= 0 && ftruncate(memory, static_cast<off_t>(count * 4)) == 0) {
      mapped = mmap(nullptr, count * 4, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
    }
    if (mapped == MAP_FAILED) {
      throw std::runtime_error("no memory for a picture");
    }
    pixels = static_cast<uint32_t*>(mapped);
    std::fill_n(pixels, count, colour);
    const wayland::Owned<wl_shm_pool> pool(wl_shm_create_pool(shm, memory, static_cast<int32_t>(count * 4)));
    buffer.reset(wl_shm_pool_create_buffer(pool.get(), 0, width, height, width * 4, format));
    close(memory);
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { munmap(pixels, count * 4); }

  size_t count;
  uint32_t* pixels = nullptr;
  wayland::Owned<wl_buffer> buffer;
};

struct SwayOnlooker::Layer {
  Buffer picture;
  wayland::Owned<wl_surface> surface;
  std::unique_ptr<wayland::LayerSurface> role;
};

/// One picture that is being taken.
struct SwayOnlooker::Copy {
  ~Copy() { zwlr_screencopy_frame_v1_destroy(frame); }

  wl_shm* shm = nullptr;
  zwlr_screencopy_frame_v1* frame = nullptr;
  std::unique_ptr<Buffer> buffer;
  bool isReady = false;
  bool hasFailed = false;
};

struct SwayOnlooker::Listeners {
  static SwayOnlooker& of(void* data) { return *static_cast<SwayOnlooker*>(data); }

  static void global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t) {
    const auto bindTo = [&](auto*& proxy, const wl_interface& wanted) {
      if (std::string(wanted.name) == interface) {
        proxy = static_cast<std::remove_reference_t<decltype(proxy)>>(wl_registry_bind(registry, name, &wanted, 1));
      }
    };
    bindTo(of(data).seat_, wl_seat_interface);
    bindTo(of(data).windows_, xdg_wm_base_interface);
    bindTo(of(data).pictures_, zwlr_screencopy_manager_v1_interface);
    bindTo(of(data).keyboards_, zwp_virtual_keyboard_manager_v1_interface);
  }

  static constexpr wl_registry_listener kRegistry = {global, [](void*, wl_registry*, uint32_t) {}};
  static constexpr xdg_wm_base_listener kWindows = {
      [](void*, xdg_wm_base* windows, uint32_t serial) { xdg_wm_base_pong(windows, serial); }};
  static constexpr wl_keyboard_listener kKeyboard = {
      [](void*, wl_keyboard*, uint32_t, int32_t keymap, uint32_t) { close(keymap); },
      [](void* data, wl_keyboard*, uint32_t, wl_surface*, wl_array*) { of(data).hasKeyboard_ = true; },
      [](void* data, wl_keyboard*, uint32_t, wl_surface*) { of(data).hasKeyboard_ = false; },
      [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {},
      [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
      nullptr};
  static const wl_pointer_listener& pointer() {
    static wl_pointer_listener result{};
    result.enter = [](void*, wl_pointer*, uint32_t, wl_surface*, wl_fixed_t, wl_fixed_t) {};
    result.leave = [](void*, wl_pointer*, uint32_t, wl_surface*) {};
    result.motion = [](void*, wl_pointer*, uint32_t, wl_fixed_t, wl_fixed_t) {};
    result.button = [](void* data, wl_pointer*, uint32_t, uint32_t, uint32_t, uint32_t state) {
      of(data).buttonIsDown_ |= state == WL_POINTER_BUTTON_STATE_PRESSED;
    };
    result.axis = [](void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {};
    return result;
  }
  static constexpr xdg_surface_listener kSurface = {[](void* data, xdg_surface* surface, uint32_t serial) {
    xdg_surface_ack_configure(surface, serial);
    of(data).isConfigured_ = true;
  }};
  static const xdg_toplevel_listener& toplevel() {
    static xdg_toplevel_listener result{};
    result.configure = [](void*, xdg_toplevel*, int32_t, int32_t, wl_array*) {};
    result.close = [](void*, xdg_toplevel*) {};
    return result;
  }
  static constexpr zwlr_screencopy_frame_v1_listener kCopy = {
      [](void* data, zwlr_screencopy_frame_v1* frame, uint32_t format, uint32_t width, uint32_t height, uint32_t) {
        auto& copy = *static_cast<Copy*>(data);
        copy.buffer = std::make_unique<Buffer>(copy.shm, static_cast<int>(width), static_cast<int>(height), format);
        zwlr_screencopy_frame_v1_copy(frame, copy.buffer->buffer.get());
      },
      [](void*, zwlr_screencopy_frame_v1*, uint32_t) {},
      [](void* data, zwlr_screencopy_frame_v1*, uint32_t, uint32_t, uint32_t) {
        static_cast<Copy*>(data)->isReady = true;
      },
      [](void* data, zwlr_screencopy_frame_v1*) { static_cast<Copy*>(data)->hasFailed = true; }};
};

SwayOnlooker::SwayOnlooker(const std::string& socket) : display_(wl_display_connect(socket.c_str())) {
  if (display_ == nullptr) {
    throw std::runtime_error("cannot reach the compositor");
  }
  registry_ = wl_display_get_registry(display_);
  wl_registry_add_listener(registry_, &Listeners::kRegistry, this);
  wl_display_roundtrip(display_);
  globals_ = std::make_unique<wayland::SurfaceGlobals>(display_, [] {});
  if (!globals_->isComplete() || !seat_ || !windows_ || !pictures_ || !keyboards_) {
    throw std::runtime_error("the compositor lacks a protocol");
  }
  xdg_wm_base_add_listener(windows_, &Listeners::kWindows, this);
  wl_keyboard_add_listener(wl_seat_get_keyboard(seat_), &Listeners::kKeyboard, this);
  wl_pointer_add_listener(wl_seat_get_pointer(seat_), &Listeners::pointer(), this);
  keyboard_ = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards_, seat_);
  const int memory = memfd_create("bench-keymap", MFD_CLOEXEC);
  if (write(memory, kKeymap, sizeof kKeymap) != sizeof kKeymap) {
    throw std::runtime_error("no memory for a keymap");
  }
  zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, memory, sizeof kKeymap);
  wl_display_roundtrip(display_);
  close(memory);
}

SwayOnlooker::~SwayOnlooker() {
  closeWindow();
  cover_.reset();
  globals_.reset();
  wl_display_disconnect(display_);
}

void SwayOnlooker::sendKey(uint32_t key, bool isDown) {
  zwp_virtual_keyboard_v1_key(keyboard_, now(), key, isDown ? 1 : 0);
  if (const auto modifier = kModifiers.find(key); modifier != kModifiers.end()) {
    modifiers_ ^= modifier->second;
    zwp_virtual_keyboard_v1_modifiers(keyboard_, modifiers_, 0, 0, 0);
  }
}

Clock::time_point SwayOnlooker::press(const std::vector<uint32_t>& keys) {
  for (const uint32_t key : keys) {
    sendKey(key, true);
  }
  wl_display_flush(display_);
  const auto pressed = Clock::now();
  for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
    sendKey(*key, false);
  }
  wl_display_flush(display_);
  return pressed;
}

void SwayOnlooker::readEvents(int timeoutMs) {
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

double SwayOnlooker::until(Clock::time_point start, const std::function<bool()>& condition) {
  constexpr int kGlanceMs = 1;
  while (!condition()) {
    if (Clock::now() - start > kPatience) {
      throw std::runtime_error("what is waited for did not happen in ten seconds");
    }
    readEvents(kGlanceMs);
  }
  return millisecondsSince(start);
}

void SwayOnlooker::openWindow() {
  constexpr int kWidth = 440;
  constexpr int kHeight = 300;
  windowPicture_ = std::make_unique<Buffer>(globals_->shm(), kWidth, kHeight, WL_SHM_FORMAT_XRGB8888);
  window_.reset(wl_compositor_create_surface(globals_->compositor()));
  xdgSurface_ = xdg_wm_base_get_xdg_surface(windows_, window_.get());
  xdg_surface_add_listener(xdgSurface_, &Listeners::kSurface, this);
  toplevel_ = xdg_surface_get_toplevel(xdgSurface_);
  xdg_toplevel_add_listener(toplevel_, &Listeners::toplevel(), this);
  xdg_toplevel_set_title(toplevel_, "Onlooker");
  wl_surface_commit(window_.get());
  isConfigured_ = false;
  until(Clock::now(), [this] { return isConfigured_; });
  wl_surface_attach(window_.get(), windowPicture_->buffer.get(), 0, 0);
  wl_surface_commit(window_.get());
  until(Clock::now(), [this] { return hasKeyboard_; });
}

void SwayOnlooker::closeWindow() {
  if (window_) {
    xdg_toplevel_destroy(toplevel_);
    xdg_surface_destroy(xdgSurface_);
    window_.reset();
    windowPicture_.reset();
    wl_display_roundtrip(display_);
    hasKeyboard_ = false;
  }
}

std::unique_ptr<SwayOnlooker::Layer> SwayOnlooker::showLayer(const Rect& place, bool takesKeyboard) {
  std::unique_ptr<Layer> layer(
      new Layer{{globals_->shm(), static_cast<int>(place.width), static_cast<int>(place.height), WL_SHM_FORMAT_ARGB8888,
                 takesKeyboard ? 0xFFFFFFFFU : 0U},
                wayland::Owned<wl_surface>(wl_compositor_create_surface(globals_->compositor())),
                nullptr});
  bool isConfigured = false;
  layer->role = std::make_unique<wayland::LayerSurface>(
      *globals_, *globals_->outputAt({0, 0}), layer->surface.get(),
      wayland::LayerSurface::Options{.place = place, .takesKeyboard = takesKeyboard},
      wayland::LayerSurface::Events{[&] { isConfigured = true; }, [] {}});
  until(Clock::now(), [&] { return isConfigured; });
  wl_surface_attach(layer->surface.get(), layer->picture.buffer.get(), 0, 0);
  wl_surface_commit(layer->surface.get());
  wl_display_flush(display_);
  return layer;
}

double SwayOnlooker::plainLayer() {
  hasKeyboard_ = false;
  const auto start = Clock::now();
  const auto layer = showLayer({100, 100, 440, 54}, true);
  return until(start, [this] { return hasKeyboard_; });
}

void SwayOnlooker::cover() {
  cover_ = showLayer(globals_->outputAt({0, 0})->facts().frame, false);
  wl_display_roundtrip(display_);
  buttonIsDown_ = false;
}

void SwayOnlooker::uncover() {
  cover_.reset();
  wl_display_roundtrip(display_);
}

std::vector<std::vector<uint32_t>> SwayOnlooker::pixels(const std::vector<Area>& areas) {
  std::vector<std::unique_ptr<Copy>> copies;
  for (const Area& area : areas) {
    auto& copy = *copies.emplace_back(std::make_unique<Copy>());
    copy.shm = globals_->shm();
    copy.frame = zwlr_screencopy_manager_v1_capture_output_region(pictures_, 0, globals_->outputAt({0, 0})->output(),
                                                                  area.x, area.y, area.width, area.height);
    zwlr_screencopy_frame_v1_add_listener(copy.frame, &Listeners::kCopy, &copy);
  }
  until(Clock::now(),
        [&] { return std::ranges::all_of(copies, [](const auto& copy) { return copy->isReady || copy->hasFailed; }); });
  std::vector<std::vector<uint32_t>> result;
  for (const auto& copy : copies) {
    if (copy->hasFailed) {
      throw std::runtime_error("the compositor gives no picture");
    }
    auto& pixels = result.emplace_back(copy->buffer->pixels, copy->buffer->pixels + copy->buffer->count);
    std::ranges::for_each(pixels, [](uint32_t& colour) { colour &= 0xFFFFFFU; });
  }
  return result;
}

}  // namespace jumplark::bench
