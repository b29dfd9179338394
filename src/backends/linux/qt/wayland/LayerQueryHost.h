#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QTimer>
#include <functional>
#include <memory>

#include "backends/linux/qt/QueryWindowHost.h"
#include "backends/linux/wayland/surfaces/FrontSurface.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"
#include "platform/Token.h"

class QWidget;

namespace jumplark {

namespace wayland {
class BoundedQueue;
class KeyboardWatch;
}  // namespace wayland

struct LayerCallbacks;

/// Qt's surface of the widget, to which the compositor gives every key as long as it shows.
class LayerQueryHost final : public QueryWindowHost {
 public:
  /// All but the events must outlive it.
  LayerQueryHost(const wayland::SurfaceGlobals& globals, wayland::FrontSurfaces& fronts, wayland::BoundedQueue& queue,
                 wayland::KeyboardWatch& keyboard, const LayerCallbacks& callbacks, QWidget& widget, Events events);
  ~LayerQueryHost() override;

  void setCard(const QRect& card) override;
  void place(QPoint card) override;
  void show() override;
  void takeKeyboard() override {}
  void hide() override;

 private:
  Rect wantedPlace() const;
  Rect card() const;
  const wayland::OutputWatch* wantedOutput() const;
  void appear();
  void disappear();
  void limitInput();
  void replace();
  void lose();
  void askForKeyboard();
  void keyboardOverdue();
  void keyboardArrived();
  void tellWhenMenusHaveGone();

  const wayland::SurfaceGlobals& globals_;
  wayland::FrontSurfaces& fronts_;
  wayland::BoundedQueue& queue_;
  const LayerCallbacks& callbacks_;
  QWidget& widget_;
  Events events_;
  QRect card_;                     ///< within the widget, logical
  QPoint place_;                   ///< of the card
  wl_surface* surface_ = nullptr;  ///< Qt's, while shown
  uint32_t output_ = 0;            ///< on which it shows
  std::unique_ptr<wayland::FrontSurface> layer_;
  bool focused_ = false;
  int refusals_ = 0;             ///< at this showing
  bool isFirstPicture_ = false;  ///< the next one is
  std::unique_ptr<QObject> painted_;
  QTimer overdue_;              ///< runs from the first picture until the keyboard should have come
  bool tookFromMenus_ = false;  ///< at this showing
  int looks_ = 0;               ///< for menus that have not gone yet
  QTimer nextLook_;
  Token keyboard_;
};

}  // namespace jumplark
