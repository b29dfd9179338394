#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Token.h"

namespace jumplark {

/// Qt's own connection to the X server, for what Qt does not offer: requests on it keep their order with Qt's, and its
/// events are seen here before Qt handles them. Tells also whether a compositor runs, without which a translucent
/// window is black. Main thread only; make it after the QApplication and destroy it before.
class NativeDisplay : private QAbstractNativeEventFilter {
 public:
  NativeDisplay();
  ~NativeDisplay() override;
  NativeDisplay(const NativeDisplay&) = delete;
  NativeDisplay& operator=(const NativeDisplay&) = delete;

  xcb_connection_t* connection() const { return connection_; }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  /// Asked for once, then remembered.
  xcb_atom_t atom(const std::string& name);
  void flush() const { xcb_flush(connection_); }
  /// Returns when the X server has carried out every request made so far.
  void synchronize() const;

  /// A point in the order of the requests: whether an event was sent before the X server had come to that point.
  uint32_t markNow() const { return xcb_no_operation(connection_).sequence; }
  static bool isBefore(const xcb_generic_event_t& event, uint32_t mark) {
    return static_cast<int32_t>(event.full_sequence - mark) < 0;
  }

  /// Shows every event to the handler, before Qt gets it. A handler may end its own registration.
  Token addEventHandler(std::function<void(const xcb_generic_event_t&)> handler);

  bool compositorRuns() const { return compositorRuns_; }
  Token onCompositorChanged(std::function<void()> callback);

 private:
  using EventHandler = std::function<void(const xcb_generic_event_t&)>;

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
  void watchCompositor();
  bool askForCompositor();
  void compositorMayHaveChanged();

  xcb_connection_t* connection_;
  xcb_screen_t* screen_ = nullptr;
  std::map<std::string, xcb_atom_t> atoms_;
  std::vector<std::shared_ptr<EventHandler>> handlers_;
  std::vector<std::shared_ptr<std::function<void()>>> compositorCallbacks_;
  xcb_atom_t compositorSelection_ = XCB_ATOM_NONE;
  xcb_window_t watcherWindow_ = XCB_WINDOW_NONE;  ///< to which the X server reports the selection's owners
  int selectionEvent_ = -1;                       ///< the number of that report; -1 without the extension
  bool compositorRuns_ = false;
};

}  // namespace jumplark
