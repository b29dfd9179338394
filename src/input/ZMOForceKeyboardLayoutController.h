#pragma once

#include <optional>
#include <string>
#include <vector>

#include "input/ZMOKeyboardLayout.h"
#include "platform/Token.h"
#include "streams/Property.h"

namespace jumplark {

/// The keyboard layout that the user wants to have while the query window is open. The choice is the user default
/// "ForceKeyboardLayout", an input source's identifier, and follows it whoever writes it. Main thread only.
class ZMOForceKeyboardLayoutController {
 public:
  static constexpr const char* keyPath = "ForceKeyboardLayout";

  ZMOForceKeyboardLayoutController();
  ZMOForceKeyboardLayoutController(const ZMOForceKeyboardLayoutController&) = delete;
  ZMOForceKeyboardLayoutController& operator=(const ZMOForceKeyboardLayoutController&) = delete;
  ~ZMOForceKeyboardLayoutController();

  /// None when nothing is chosen, and when the chosen layout cannot be selected now.
  const Property<std::optional<ZMOKeyboardLayout>>& forceKeyboardLayout() const { return forceKeyboardLayout_; }
  /// Stores the choice (none removes it); forceKeyboardLayout() follows on the main queue.
  void setForceKeyboardLayout(const std::optional<ZMOKeyboardLayout>& layout);

  /// What there is to choose from, as of the last updateAvailableKeyboardLayouts().
  const std::vector<ZMOKeyboardLayout>& availableKeyboardLayouts() const { return availableKeyboardLayouts_; }
  void updateAvailableKeyboardLayouts();
  std::optional<ZMOKeyboardLayout> keyboardLayoutForInputSourceID(const std::optional<std::string>& identifier) const;

  /// Remembers the current layout and selects the forced one; false when it is active already or the selection fails
  /// (the layout before is then still restored by deactivate()). True, and nothing done, when no layout is forced.
  bool activate();
  /// Selects the remembered layout; false when there is none or it cannot be selected (it is then kept for the next
  /// call). True, and nothing done, when no layout is forced.
  bool deactivate();

 private:
  std::vector<ZMOKeyboardLayout> availableKeyboardLayouts_;
  Property<std::optional<ZMOKeyboardLayout>> forceKeyboardLayout_;
  std::optional<InputSource> savedKeyboardLayout_;
  Token observation_;
};

}  // namespace jumplark
