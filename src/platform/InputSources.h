#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jumplark {

/// A keyboard layout that the user has switched on.
struct InputSource {
  std::string identifier;     ///< stays the same over restarts, for example "us" or "de(neo)"
  std::string localizedName;  ///< as a person reads it
  bool operator==(const InputSource& other) const { return identifier == other.identifier; }
};

/// The keyboard layouts of the session. Calls may come from any thread.
class InputSources {
 public:
  virtual ~InputSources() = default;
  /// Those that can be selected, in the session's order.
  virtual std::vector<InputSource> selectableKeyboardLayouts() = 0;
  virtual std::optional<InputSource> currentKeyboardLayout() = 0;
  /// Selects one for the whole session; false when it is not there or the system refuses.
  virtual bool select(const std::string& identifier) = 0;
};

}  // namespace jumplark
