#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/Token.h"

namespace jumplark {

/// Atoms that are asked for once, when a connection is opened.
enum class Atom : size_t {
  wmState,
  netSupportingWmCheck,
  netClientList,
  netClientListStacking,
  netActiveWindow,
  netWmName,
  netWmPid,
  netFrameExtents,
  netWmState,
  netWmStateHidden,
  netWmStateModal,
  netWmStateMaximizedHorz,
  netWmStateMaximizedVert,
  netWmAllowedActions,
  netWmActionClose,
  netWmActionMinimize,
  netWmActionMaximizeHorz,
  netWmActionMaximizeVert,
  netCloseWindow,
  wmChangeState,
  netWmWindowType,
  typeNormal,
  typeDialog,
  typeUtility,
  typeToolbar,
  typeMenu,
  typeDropdownMenu,
  typePopupMenu,
  typeCombo,
  typeTooltip,
  typeDock,
  typeDesktop,
  typeSplash,
  typeNotification,
  typeDnd,
  gtkFrameExtents,
  gtkApplicationId,
  gtkUniqueBusName,
  gtkMenubarObjectPath,
  gtkAppMenuObjectPath,
  gtkApplicationObjectPath,
  gtkWindowObjectPath,
  kdeAppmenuServiceName,
  kdeAppmenuObjectPath,
  netWmStrut,
  netWmStrutPartial,
  netWorkarea,
  netCurrentDesktop,
  xkbRulesNames,
  netWmCompositor,  ///< the selection that a compositor of this screen owns
  netSystemTray,    ///< the selection that this screen's tray owns
  count
};

/// What the X server offers, as versions major * 100 + minor; 0 when it is missing.
struct X11Extensions {
  int xtest = 0;
  int shape = 0;
  int xfixes = 0;
  int randr = 0;
  int xresource = 0;
  int xinput = 0;  ///< the version that was agreed upon, at most 2.2
  int xkb = 0;
  uint8_t xinputOpcode = 0;
  uint8_t xkbFirstEvent = 0;
  uint8_t randrFirstEvent = 0;
};

/// One connection to the X server, closed on destruction. Requests may be made from any thread. When the server goes
/// away nothing hangs or crashes: every reply is null from then on (which is why the first connection makes the process
/// ignore SIGPIPE, unless something handles it already).
class X11Connection {
 public:
  struct Opened {
    std::shared_ptr<X11Connection> connection;  ///< null when it failed
    std::string error;                          ///< why, and what the user can do about it
  };
  /// Connects to the named display; an empty name means the one in the environment variable DISPLAY.
  static Opened open(const std::string& display = {});

  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;
  ~X11Connection();

  xcb_connection_t* get() const { return connection_; }
  bool alive() const { return xcb_connection_has_error(connection_) == 0; }
  const std::string& displayName() const { return displayName_; }
  xcb_window_t root() const { return screen_->root; }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_atom_t atom(Atom name) const { return atoms_[static_cast<size_t>(name)]; }
  const X11Extensions& extensions() const { return extensions_; }

  /// True when the X server has carried the request out. Waits for it.
  bool check(xcb_void_cookie_t cookie) const;
  /// Drops the events that every client gets unasked, so that a connection that reads none does not collect them.
  void dropEvents() const;
  /// A crash closes this connection at the first moment, and so lets go of its grabs; not after this call.
  void outliveCrash() { shutDownAtCrash_.reset(); }
  /// This process as the X server counts it, which in a sandbox is not what getpid() says; -1 when it does not tell.
  int32_t ownResourcePid() const { return ownResourcePid_; }

 private:
  X11Connection(xcb_connection_t* connection, xcb_screen_t* screen, std::string displayName);
  void internAtoms(int screenNumber);
  void queryExtensions();

  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
  std::string displayName_;
  std::array<xcb_atom_t, static_cast<size_t>(Atom::count)> atoms_{};
  X11Extensions extensions_;
  int32_t ownResourcePid_ = -1;
  Token shutDownAtCrash_;
};

}  // namespace jumplark
