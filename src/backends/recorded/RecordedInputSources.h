#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/InputSources.h"

namespace jumplark {

/// Keyboard layouts that a test lays out; at first "us" alone, selected. Safe on any thread.
class RecordedInputSources : public InputSources {
 public:
  RecordedInputSources();

  std::vector<InputSource> selectableKeyboardLayouts() override;
  std::optional<InputSource> currentKeyboardLayout() override;
  bool select(const std::string& identifier) override;

  /// The layouts of the session from now on; the first one is selected where the current one is not among them.
  void setLayouts(std::vector<InputSource> layouts);
  /// As when the user switches; none: the system does not know it.
  void setCurrent(std::optional<InputSource> layout);
  /// From now on the system refuses, or permits, every selection.
  void permitSelection(bool permitted);
  /// Identifiers of all select() calls, also of those that failed.
  std::vector<std::string> selections() const;

 private:
  mutable std::mutex mutex_;
  std::vector<InputSource> layouts_;
  std::optional<InputSource> current_;
  std::vector<std::string> selections_;
  bool permitted_ = true;
};

}  // namespace jumplark
