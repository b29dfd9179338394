#include "backends/linux/wayland/surfaces/KeyboardWatch.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "backends/linux/wayland/surfaces/Owned.h"

namespace jumplark::wayland {
namespace {

/// Between the kernel's codes, which the protocol counts in, and XKB's.
constexpr uint32_t kFirstKeycode = 8;

/// None when there is no map in that text.
std::optional<KeySymbols> readMap(const std::string& text) {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
      xkb_context_new(
          static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES | XKB_CONTEXT_NO_ENVIRONMENT_NAMES)),
      xkb_context_unref);
  const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
      context ? xkb_keymap_new_from_buffer(context.get(), text.data(), text.size(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                           XKB_KEYMAP_COMPILE_NO_FLAGS)
              : nullptr,
      xkb_keymap_unref);
  return keymap ? std::optional<KeySymbols>(keymap.get()) : std::nullopt;
}

}  // namespace

struct KeyboardWatch::Seat {
  Seat(KeyboardWatch& owner, uint32_t number, Owned<wl_seat> proxy)
      : watch(owner), name(number), seat(std::move(proxy)) {
    wl_seat_add_listener(seat.get(), &kSeatListener, this);
  }

  static Seat& of(void* data) { return *static_cast<Seat*>(data); }

  void setCapabilities(uint32_t capabilities) {
    const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
    if (hasKeyboard && !keyboard) {
      keyboard.reset(wl_seat_get_keyboard(seat.get()));
      wl_keyboard_add_listener(keyboard.get(), &kKeyboardListener, this);
    } else if (!hasKeyboard) {
      keyboard.reset();
    }
  }

  void setMap(uint32_t format, int file, uint32_t size) {
    void* memory = format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 && size > 0
                       ? mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0)
                       : MAP_FAILED;
    close(file);
    if (memory == MAP_FAILED) {
      return;
    }
    std::string text(static_cast<const char*>(memory), strnlen(static_cast<const char*>(memory), size));
    munmap(memory, size);
    // Compositors send the same one again whenever the keyboard passes from one device to another.
    if (text != mapText) {
      if (auto read = readMap(text)) {
        symbols = std::move(read);
        mapText = std::move(text);
      }
    }
    watch.current_ = watch.current_ ? watch.current_ : this;
  }

  static const wl_seat_listener kSeatListener;
  static const wl_keyboard_listener kKeyboardListener;

  KeyboardWatch& watch;
  uint32_t name;
  Owned<wl_seat> seat;
  Owned<wl_keyboard> keyboard;
  std::string mapText;
  std::optional<KeySymbols> symbols;
  Modifiers modifiers;
};

const wl_seat_listener KeyboardWatch::Seat::kSeatListener = {
    [](void* data, wl_seat*, uint32_t capabilities) { of(data).setCapabilities(capabilities); },
    [](void*, wl_seat*, const char*) {},
};

const wl_keyboard_listener KeyboardWatch::Seat::kKeyboardListener = {
    [](void* data, wl_keyboard*, uint32_t format, int32_t file, uint32_t size) { of(data).setMap(format, file, size); },
    [](void* data, wl_keyboard*, uint32_t, wl_surface* surface, wl_array* keys) {
      Seat& self = of(data);
      self.watch.current_ = &self;
      const auto* codes = static_cast<const uint32_t*>(keys->data);
      std::vector<uint32_t> down(codes, codes + keys->size / sizeof(uint32_t));
      std::ranges::for_each(down, [](uint32_t& code) { code += kFirstKeycode; });
      self.watch.tell([&](const Listener& listener) {
        if (listener.entered) {
          listener.entered(surface, down);
        }
      });
    },
    [](void* data, wl_keyboard*, uint32_t, wl_surface* surface) {
      of(data).watch.tell([&](const Listener& listener) {
        if (listener.left) {
          listener.left(surface);
        }
      });
    },
    [](void* data, wl_keyboard*, uint32_t, uint32_t time, uint32_t key, uint32_t state) {
      Seat& self = of(data);
      self.watch.current_ = &self;
      self.watch.tell([&](const Listener& listener) {
        if (listener.key) {
          listener.key(key + kFirstKeycode, state == WL_KEYBOARD_KEY_STATE_PRESSED, time);
        }
      });
    },
    [](void* data, wl_keyboard*, uint32_t, uint32_t held, uint32_t latched, uint32_t locked, uint32_t group) {
      Seat& self = of(data);
      self.modifiers = {held, latched, locked, group};
      self.watch.tell([&](const Listener& listener) {
        if (listener.modifiersChanged) {
          listener.modifiersChanged(self.modifiers);
        }
      });
    },
    [](void*, wl_keyboard*, int32_t, int32_t) {},
};

struct KeyboardWatch::Registry {
  Owned<wl_registry> proxy;
};

KeyboardWatch::KeyboardWatch(wl_display* display)
    : registry_(new Registry{Owned<wl_registry>(wl_display_get_registry(display))}) {
  static constexpr wl_registry_listener kListener = {
      [](void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
        if (std::string(interface) == wl_seat_interface.name) {
          auto& self = *static_cast<KeyboardWatch*>(data);
          Owned<wl_seat> seat(
              static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, std::min(version, 7U))));
          self.seats_.push_back(std::make_unique<Seat>(self, name, std::move(seat)));
        }
      },
      [](void* data, wl_registry*, uint32_t name) {
        auto& self = *static_cast<KeyboardWatch*>(data);
        if (self.current_ && self.current_->name == name) {
          self.current_ = nullptr;
        }
        std::erase_if(self.seats_, [&](const auto& seat) { return seat->name == name; });
      }};
  wl_registry_add_listener(registry_->proxy.get(), &kListener, this);
}

KeyboardWatch::~KeyboardWatch() = default;

Token KeyboardWatch::addListener(Listener listener) {
  auto added = std::make_shared<std::optional<Listener>>(std::move(listener));
  listeners_->push_back(added);
  return Token([list = listeners_, added] {
    // Emptied as well: a round of calls that is under way has a copy of the list.
    added->reset();
    std::erase(*list, added);
  });
}

template <typename Call>
void KeyboardWatch::tell(const Call& call) {
  // Copies, since a call may end its own registration or another one's.
  const Listeners round = *listeners_;
  for (const auto& listener : round) {
    if (const std::optional<Listener> copy = *listener) {
      call(*copy);
    }
  }
}

const KeySymbols* KeyboardWatch::symbols() const {
  return current_ && current_->symbols ? &*current_->symbols : nullptr;
}

KeyboardWatch::Modifiers KeyboardWatch::modifiers() const {
  return current_ ? current_->modifiers : Modifiers{};
}

}  // namespace jumplark::wayland
