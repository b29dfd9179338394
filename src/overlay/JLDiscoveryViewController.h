#pragma once

#include <memory>
#include <string>

namespace jumplark {

class JLElement;

/// What the bubble says of an element: its type, then its texts by attribute name, a line each. Any thread.
class JLDiscoveryViewController {
 public:
  /// Reads the element. Without one the type is empty and nothing follows.
  static JLDiscoveryViewController controllerForElement(const std::shared_ptr<JLElement>& element);

  const std::string& text() const { return text_; }
  void setText(std::string text) { text_ = std::move(text); }

 private:
  std::string text_;
};

}  // namespace jumplark
