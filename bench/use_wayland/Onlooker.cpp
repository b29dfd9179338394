#include "Onlooker.h"

#include <unistd.h>
#include <wayland-client.h>
#include <xdg-shell-client-protocol.h>

#include <limits>
#include <stdexcept>

namespace jumplark::bench {

struct Onlooker::Layer {
  Picture picture;
  wayland::Owned<wl_surface> surface;
  wayland::Owned<wl_subsurface> part;  ///< of the client's window, where there are no layers
  std::unique_ptr<wayland::LayerSurface> role;
};

struct Onlooker::Listeners {
  static Onlooker& of(void* data) { return *static_cast<Onlooker*>(data); }

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
};

Onlooker::Onlooker(Connection& connection)
    : connection_(connection), globals_(std::make_unique<wayland::SurfaceGlobals>(connection.display(), [] {})) {
  auto* const seat = connection.bind<wl_seat>(wl_seat_interface);
  if (!globals_->isComplete() || seat == nullptr || globals_->windowBase() == nullptr) {
    throw std::runtime_error("the compositor lacks a protocol");
  }
  wl_keyboard_add_listener(wl_seat_get_keyboard(seat), &Listeners::kKeyboard, this);
  wl_pointer_add_listener(wl_seat_get_pointer(seat), &Listeners::pointer(), this);
  connection.roundtrip();
}

Onlooker::~Onlooker() {
  closeWindow();
}

void Onlooker::openWindow() {
  constexpr int kWidth = 440;
  constexpr int kHeight = 300;
  windowPicture_ = std::make_unique<Picture>(globals_->shm(), kWidth, kHeight, WL_SHM_FORMAT_XRGB8888);
  window_.reset(wl_compositor_create_surface(globals_->compositor()));
  xdgSurface_ = xdg_wm_base_get_xdg_surface(globals_->windowBase(), window_.get());
  xdg_surface_add_listener(xdgSurface_, &Listeners::kSurface, this);
  toplevel_ = xdg_surface_get_toplevel(xdgSurface_);
  xdg_toplevel_add_listener(toplevel_, &Listeners::toplevel(), this);
  xdg_toplevel_set_title(toplevel_, "Onlooker");
  wl_surface_commit(window_.get());
  isConfigured_ = false;
  connection_.until(Clock::now(), [this] { return isConfigured_; });
  wl_surface_attach(window_.get(), windowPicture_->buffer(), 0, 0);
  wl_surface_commit(window_.get());
  connection_.until(Clock::now(), [this] { return hasKeyboard_; });
}

void Onlooker::closeWindow() {
  if (window_) {
    xdg_toplevel_destroy(toplevel_);
    xdg_surface_destroy(xdgSurface_);
    window_.reset();
    windowPicture_.reset();
    connection_.roundtrip();
    hasKeyboard_ = false;
  }
}

std::unique_ptr<Onlooker::Layer> Onlooker::showLayer(const Rect& place, Purpose purpose, int windowX, int windowY) {
  constexpr uint32_t kColours[] = {0xFFFFFFFF, 0, 0x80404080};
  std::unique_ptr<Layer> layer(
      new Layer{{globals_->shm(), static_cast<int>(place.width), static_cast<int>(place.height), WL_SHM_FORMAT_ARGB8888,
                 kColours[static_cast<size_t>(purpose)]},
                wayland::Owned<wl_surface>(wl_compositor_create_surface(globals_->compositor())),
                {},
                nullptr});
  if (purpose == Purpose::nothing) {
    const wayland::Owned<wl_region> empty(wl_compositor_create_region(globals_->compositor()));
    wl_surface_set_input_region(layer->surface.get(), empty.get());
  }
  if (globals_->layerShell() == nullptr) {
    layer->part.reset(wl_subcompositor_get_subsurface(globals_->subcompositor(), layer->surface.get(), window_.get()));
    wl_subsurface_set_desync(layer->part.get());
    wl_subsurface_set_position(layer->part.get(), static_cast<int>(place.x) - windowX,
                               static_cast<int>(place.y) - windowY);
    wl_surface_commit(window_.get());
  } else {
    bool isConfigured = false;
    layer->role = std::make_unique<wayland::LayerSurface>(
        *globals_, *globals_->outputAt({0, 0}), layer->surface.get(),
        wayland::LayerSurface::Options{.place = place, .takesKeyboard = purpose == Purpose::keyboard},
        wayland::LayerSurface::Events{[&] { isConfigured = true; }, [] {}});
    connection_.until(Clock::now(), [&] { return isConfigured; });
  }
  wl_surface_attach(layer->surface.get(), layer->picture.buffer(), 0, 0);
  wl_surface_damage(layer->surface.get(), 0, 0, std::numeric_limits<int32_t>::max(),
                    std::numeric_limits<int32_t>::max());
  wl_surface_commit(layer->surface.get());
  connection_.flush();
  return layer;
}

double Onlooker::plainSurface() {
  hasKeyboard_ = false;
  const auto start = Clock::now();
  if (globals_->layerShell() == nullptr) {
    openWindow();
    const double time = millisecondsSince(start);
    closeWindow();
    return time;
  }
  const auto layer = showLayer({100, 100, 440, 54}, Purpose::keyboard);
  return connection_.until(start, [this] { return hasKeyboard_; });
}

double Onlooker::plainOverlay(int x, int y, const std::function<bool()>& shows) {
  const auto start = Clock::now();
  const auto layer = showLayer(globals_->outputAt({0, 0})->facts().frame, Purpose::nothing, x, y);
  return connection_.until(start, shows);
}

void Onlooker::cover() {
  cover_ = showLayer(globals_->outputAt({0, 0})->facts().frame, Purpose::clicks);
  connection_.roundtrip();
  buttonIsDown_ = false;
}

void Onlooker::uncover() {
  cover_.reset();
  connection_.roundtrip();
}

}  // namespace jumplark::bench
