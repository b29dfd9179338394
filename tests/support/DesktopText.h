#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace jumplark::testing {

/// The text of a recording, from one line an element:
///
///   app AXApplication AXFocusedWindow=@w
///     w AXWindow 0,0/400,300 !AXRaise
///       ok AXButton 10,10/100,20 AXTitle="OK"
///
/// After id and role come place and size (top-left origin), attributes as JSON without blanks, in which @id stands for
/// a reference, and actions. What is indented lies in what it is indented below: these know each other as parent, child
/// and window, unless the line says otherwise. Each outermost application runs, numbered from 1, the first in front;
/// bundle=ID names it, and one called "dock" is the dock. `head` holds further members of the recording, each followed
/// by a comma.
class DesktopText {
 public:
  static std::string of(const std::string& lines, const std::string& head = R"("screens":[[0,0,1000,1000]],)") {
    DesktopText desktop;
    std::istringstream text(lines);
    for (std::string line; std::getline(text, line);) {
      desktop.add(line);
    }
    std::string applications;
    std::string elements;
    int pid = 0;
    for (const Element& e : desktop.elements_) {
      if (e.parent.empty() && e.role == "AXApplication") {
        append(applications, R"({"pid":)" + std::to_string(++pid) + R"(,"bundle_id":")" +
                                 (e.id == "dock" ? "com.apple.dock" : e.bundle) + R"(","element":")" + e.id + "\"}");
      }
      append(elements, "\"" + e.id + R"(":{"attributes":{"AXRole":")" + e.role + "\"" +
                           (e.children.empty() ? "" : ",\"AXChildren\":[" + e.children + "]") + e.attributes +
                           R"(},"actions":[)" + e.actions + "]}");
    }
    return "{" + head + R"("frontmost":1,"applications":[)" + applications + R"(],"elements":{)" + elements + "}}";
  }

 private:
  struct Element {
    size_t indent = 0;
    std::string id, role, parent, window, children, attributes, actions, bundle = "b";
  };

  static void append(std::string& list, const std::string& entry) { list += (list.empty() ? "" : ",") + entry; }
  static std::string reference(const std::string& id) { return R"({"ref":")" + id + "\"}"; }
  static std::string withReferences(std::string value) {
    for (size_t at = value.find('@'); at != std::string::npos; at = value.find('@', at)) {
      const std::string id = value.substr(at + 1, value.find_first_of(",]", at) - at - 1);
      value.replace(at, id.size() + 1, reference(id));
    }
    return value;
  }

  void add(const std::string& line) {
    Element e;
    e.indent = line.find_first_not_of(' ');
    std::istringstream words(line);
    if (!(words >> e.id >> e.role)) {
      return;
    }
    while (!path_.empty() && elements_[path_.back()].indent >= e.indent) {
      path_.pop_back();
    }
    if (!path_.empty()) {
      Element& parent = elements_[path_.back()];
      append(parent.children, reference(e.id));
      e.parent = parent.id;
      e.window = parent.role == "AXWindow" ? parent.id : parent.window;
      e.attributes += ",\"AXParent\":" + reference(e.parent);
      e.attributes += e.window.empty() ? "" : ",\"AXWindow\":" + reference(e.window);
    }
    for (std::string word; words >> word;) {
      const size_t middle = word.find_first_of("=/");
      if (word[0] == '!') {
        append(e.actions, "\"" + word.substr(1) + "\"");
      } else if (word.starts_with("bundle=")) {
        e.bundle = word.substr(middle + 1);
      } else if (word[middle] == '=') {
        e.attributes += ",\"" + word.substr(0, middle) + "\":" + withReferences(word.substr(middle + 1));
      } else {
        e.attributes += R"(,"AXPosition":{"point":[)" + word.substr(0, middle) + "]},\"AXSize\":{\"size\":[" +
                        word.substr(middle + 1) + "]}";
      }
    }
    path_.push_back(elements_.size());
    elements_.push_back(std::move(e));
  }

  std::vector<Element> elements_;
  std::vector<size_t> path_;  ///< from the outermost to the last one
};

}  // namespace jumplark::testing
