#include "backends/linux/qt/QtOverlay.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"
#include "platform/Screens.h"

namespace jumplark {
namespace {

/// Within this time programs have repainted what a window of ours hid.
constexpr std::chrono::milliseconds kRepaintTime{200};

}  // namespace

OverlaySheets::OverlaySheets(const Context& context) : context_(context) {
  settling_.setSingleShot(true);
  settling_.setInterval(kRepaintTime);
  QObject::connect(&settling_, &QTimer::timeout, &settling_, [this] { settled(); });
  screensChanged_ = context_.screens.onFramesChanged([this] { desktopChanged(); });
  compositorChanged_ = context_.windows.onCompositorChanged([this] { desktopChanged(); });
  context_.area.onChanged([this] {
    for (const auto& sheet : sheets_) {
      sheet->setHole(context_.area.rect());
    }
  });
  rebuild();
}

OverlaySheets::~OverlaySheets() {
  context_.area.onChanged(nullptr);
}

bool OverlaySheets::fitsDesktop() const {
  const std::vector<Rect> frames = context_.screens.frames();
  return std::ranges::equal(frames, sheets_, [&](const Rect& frame, const auto& sheet) {
    const QRect screen = context_.geometry.toNative(frame);
    const double scale = context_.geometry.scaleAt(screen.center()) * context_.windows.pictureRatioAt(screen.center());
    return sheet->screen() == screen && sheet->scale() == scale &&
           sheet->isTranslucent() == context_.windows.compositorRuns();
  });
}

void OverlaySheets::rebuild() {
  sheets_.clear();
  for (const Rect& frame : context_.screens.frames()) {
    const QRect screen = context_.geometry.toNative(frame);
    sheets_.push_back(std::make_unique<OverlaySheet>(context_.windows, painters_, screen,
                                                     context_.geometry.scaleAt(screen.center())));
    sheets_.back()->setHole(context_.area.rect());
  }
}

void OverlaySheets::desktopChanged() {
  if (fitsDesktop()) {
    return;
  }
  rebuild();
  if (!user_) {
    return;
  }
  for (const auto& sheet : sheets_) {
    sheet->setLayers(layers_);
  }
  // An opaque sheet would copy the screen before the programs below have repainted it.
  context_.windows.compositorRuns() ? settled() : settling_.start();
}

void OverlaySheets::settled() {
  for (const auto& sheet : sheets_) {
    if (user_) {
      sheet->show(level_);
    } else {
      sheet->forgetCovered();
    }
  }
}

void OverlaySheets::place(const std::vector<BoxLayer>& layers) {
  layers_.clear();
  layers_.reserve(layers.size());
  for (const BoxLayer& layer : layers) {
    layers_.push_back({layer, context_.geometry.toNative(layer.frame)});
  }
  for (const auto& sheet : sheets_) {
    sheet->setLayers(layers_);
  }
}

void OverlaySheets::show(const OverlayView& user, int level, const std::vector<BoxLayer>& layers) {
  if (!fitsDesktop()) {
    rebuild();
  }
  user_ = &user;
  level_ = level;
  settling_.stop();
  place(layers);
  settled();
}

void OverlaySheets::hide(const OverlayView& user) {
  if (user_ != &user) {
    return;
  }
  user_ = nullptr;
  for (const auto& sheet : sheets_) {
    sheet->hide();
  }
  settling_.start();
}

void OverlaySheets::setLayers(const OverlayView& user, const std::vector<BoxLayer>& layers) {
  if (user_ == &user) {
    place(layers);
  }
}

QtOverlay::~QtOverlay() {
  sheets_.hide(*this);
}

void QtOverlay::orderFront() {
  shown_ = true;
  sheets_.show(*this, level_, layers_);
}

void QtOverlay::orderOut() {
  shown_ = false;
  sheets_.hide(*this);
}

void QtOverlay::setLayers(std::vector<BoxLayer> layers) {
  layers_ = std::move(layers);
  if (shown_) {
    sheets_.setLayers(*this, layers_);
  }
}

}  // namespace jumplark
