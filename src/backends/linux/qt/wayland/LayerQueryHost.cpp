#include "backends/linux/qt/wayland/LayerQueryHost.h"

#include <wayland-client.h>

#include <qpa/qplatformnativeinterface.h>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <chrono>
#include <utility>

#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/wayland/LayerWindows.h"
#include "backends/linux/wayland/surfaces/BoundedQueue.h"
#include "backends/linux/wayland/surfaces/KeyboardWatch.h"

namespace jumplark {
namespace {

/// Far longer than a compositor takes that is there at all.
constexpr std::chrono::milliseconds kPatience{500};
/// Within this time the first picture has gone to the compositor, which gives the keyboard with it.
constexpr std::chrono::milliseconds kKeyboardPatience{60};
/// Menus within menus.
constexpr int kMostRefusals = 5;
/// What shows for longer has let the keyboard go and stays.
constexpr int kMostLooks = 30;
constexpr std::chrono::milliseconds kBetweenLooks{10};

/// Tells of each picture that a widget is about to get.
class PaintWatch final : public QObject {
 public:
  PaintWatch(QObject& widget, std::function<void()> painting) : painting_(std::move(painting)) {
    widget.installEventFilter(this);
  }
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() == QEvent::Paint) {
      painting_();
    }
    return false;
  }

 private:
  std::function<void()> painting_;
};

wl_surface* surfaceOf(QWindow& window) {
  return static_cast<wl_surface*>(
      QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

}  // namespace

LayerQueryHost::LayerQueryHost(const wayland::SurfaceGlobals& globals, wayland::FrontSurfaces& fronts,
                               wayland::BoundedQueue& queue, wayland::KeyboardWatch& keyboard,
                               const LayerCallbacks& callbacks, QWidget& widget, Events events)
    : globals_(globals),
      fronts_(fronts),
      queue_(queue),
      callbacks_(callbacks),
      widget_(widget),
      events_(std::move(events)) {
  overdue_.setSingleShot(true);
  overdue_.setInterval(kKeyboardPatience);
  QObject::connect(&overdue_, &QTimer::timeout, &overdue_, [this] { askForKeyboard(); });
  nextLook_.setSingleShot(true);
  nextLook_.setInterval(kBetweenLooks);
  QObject::connect(&nextLook_, &QTimer::timeout, &nextLook_, [this] { tellWhenMenusHaveGone(); });
  // A machine that is slow to paint must not count as a menu that keeps the keyboard.
  painted_ = std::make_unique<PaintWatch>(widget_, [this] {
    if (layer_) {
      layer_->pictureComes();
    }
    if (layer_ && isFirstPicture_) {
      isFirstPicture_ = false;
      overdue_.start();
    }
  });
  // Qt gives the surface of such a window no role, see QtMainLoop.
  widget_.setWindowFlag(Qt::BypassWindowManagerHint);
  // The first showing of all makes Qt load much, cursors for one; without a role it shows nowhere.
  widget_.show();
  disappear();
  widget_.winId();
  keyboard_ = keyboard.addListener({.entered =
                                        [this](wl_surface* surface, const std::vector<uint32_t>&) {
                                          if (surface_ && surface == surface_) {
                                            keyboardArrived();
                                          }
                                        },
                                    .left =
                                        [this](wl_surface* surface) {
                                          if (surface_ && surface == surface_ && std::exchange(focused_, false)) {
                                            QtMainLoop::guarded([this] { events_.keyboardLost(); });
                                          }
                                        },
                                    .key = nullptr,
                                    .modifiersChanged = nullptr});
}

LayerQueryHost::~LayerQueryHost() {
  disappear();
}

void LayerQueryHost::keyboardArrived() {
  focused_ = true;
  QtMainLoop::guarded([this] {
    events_.keyboardArrived();
    if (callbacks_.keyboardArrived) {
      callbacks_.keyboardArrived();
    }
  });
  if (std::exchange(tookFromMenus_, false)) {
    looks_ = 0;
    tellWhenMenusHaveGone();
  }
}

/// An application takes its menus away a moment after it has lost the keyboard.
void LayerQueryHost::tellWhenMenusHaveGone() {
  bool doShow = false;
  QtMainLoop::guarded([&] { doShow = callbacks_.menusShow && callbacks_.menusShow(); });
  if (doShow && ++looks_ < kMostLooks) {
    nextLook_.start();
  } else {
    QtMainLoop::guarded([this] { events_.menusClosed(); });
  }
}

Rect LayerQueryHost::wantedPlace() const {
  const QPoint corner = place_ - card_.topLeft();
  return {static_cast<double>(corner.x()), static_cast<double>(corner.y()), static_cast<double>(widget_.width()),
          static_cast<double>(widget_.height())};
}

Rect LayerQueryHost::card() const {
  return {static_cast<double>(card_.x()), static_cast<double>(card_.y()), static_cast<double>(card_.width()),
          static_cast<double>(card_.height())};
}

const wayland::OutputWatch* LayerQueryHost::wantedOutput() const {
  return globals_.outputAt({static_cast<double>(place_.x()), static_cast<double>(place_.y())});
}

void LayerQueryHost::setCard(const QRect& card) {
  card_ = card;
  limitInput();
  replace();
}

/// Clicks on the shadow go to what lies below.
void LayerQueryHost::limitInput() {
  if (surface_) {
    const wayland::Owned<wl_region> card(wl_compositor_create_region(globals_.compositor()));
    wl_region_add(card.get(), card_.x(), card_.y(), card_.width(), card_.height());
    wl_surface_set_input_region(surface_, card.get());
  }
}

void LayerQueryHost::place(QPoint card) {
  place_ = card;
  replace();
}

void LayerQueryHost::replace() {
  widget_.move(place_ - card_.topLeft());
  if (!layer_) {
    return;
  }
  if (!globals_.hasOutput(output_)) {
    // It would have the keyboard and show nowhere.
    lose();
    return;
  }
  if (wantedOutput()->facts().global != output_) {
    // A surface stays on the output that it was made for.
    disappear();
    appear();
    return;
  }
  layer_->moveTo(wantedPlace(), card());
  wl_surface_commit(surface_);
}

void LayerQueryHost::show() {
  if (!widget_.isVisible()) {
    refusals_ = 0;
    tookFromMenus_ = callbacks_.queryWillShow && callbacks_.queryWillShow();
    appear();
  }
}

void LayerQueryHost::appear() {
  // What an attempt in vain has left: a surface takes its role along when it goes, and whoever asks of that then is
  // thrown out.
  layer_.reset();
  widget_.winId();
  QWindow& window = *widget_.windowHandle();
  const auto* output = wantedOutput();
  if (QScreen* screen = QGuiApplication::screenAt(place_)) {
    window.setScreen(screen);
  }
  // The surface gets the scale that its screen has now; of later changes Qt paints but a part.
  window.destroy();
  window.create();
  surface_ = surfaceOf(window);
  if (surface_ && output) {
    limitInput();
    output_ = output->facts().global;
    layer_ = fronts_.make(*output, surface_,
                          {.place = wantedPlace(), .card = card(), .takesKeyboard = true, .queue = &queue_},
                          wayland::FrontSurface::Events{[] {}, [this] { lose(); }});
  }
  if (layer_ && layer_->awaitConfigured(kPatience)) {
    widget_.show();
    // The memory that Qt paints into may be of another scale than before; Qt paints what it takes for changed.
    widget_.update();
    overdue_.start();
    return;
  }
  // As a task, since whoever shows it does not expect to lose it meanwhile; he may have tried again by then.
  QMetaObject::invokeMethod(
      &widget_,
      [this] {
        if (!widget_.isVisible()) {
          lose();
        }
      },
      Qt::QueuedConnection);
}

void LayerQueryHost::disappear() {
  overdue_.stop();
  nextLook_.stop();
  focused_ = false;
  surface_ = nullptr;
  layer_.reset();
  widget_.hide();
  // Qt keeps the surface otherwise, and one that has had a picture gets no other role.
  if (QWindow* window = widget_.windowHandle()) {
    window->destroy();
  }
}

void LayerQueryHost::hide() {
  disappear();
  // Over another connection comes the click that is meant for what lies below.
  queue_.synchronize(kPatience);
}

/// Whatever the compositor has given by now is in the toolkit's queue when it has answered.
void LayerQueryHost::askForKeyboard() {
  if (!layer_ || focused_ || !queue_.synchronize(kPatience)) {
    return;
  }
  QMetaObject::invokeMethod(
      &overdue_, [this] { keyboardOverdue(); }, Qt::QueuedConnection);
}

/// A menu that is open keeps the keyboard, and what was shown meanwhile does not get it later.
void LayerQueryHost::keyboardOverdue() {
  if (!layer_ || focused_ || ++refusals_ > kMostRefusals || !callbacks_.keyboardRefused) {
    return;
  }
  tookFromMenus_ = true;
  QtMainLoop::guarded([this] { callbacks_.keyboardRefused(refusals_); });
  disappear();
  appear();
}

void LayerQueryHost::lose() {
  disappear();
  QtMainLoop::guarded([this] { events_.keyboardLost(); });
}

}  // namespace jumplark
