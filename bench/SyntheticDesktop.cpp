#include "SyntheticDesktop.h"

#include <array>
#include <nlohmann/json.hpp>
#include <random>
#include <vector>

namespace jumplark::bench {
namespace {

using Json = nlohmann::json;

constexpr size_t kGroupSize = 50;

/// How often a role occurs among twenty elements, and where its text stands.
struct Kind {
  const char* role;
  size_t weight;
  const char* text;
};
constexpr std::array<Kind, 9> kKinds = {{{"AXButton", 5, "AXTitle"},
                                         {"AXStaticText", 5, "AXValue"},
                                         {"AXLink", 3, "AXTitle"},
                                         {"AXCell", 2, "AXTitle"},
                                         {"AXMenuItem", 1, "AXTitle"},
                                         {"AXTextField", 1, "AXValue"},
                                         {"AXCheckBox", 1, "AXTitle"},
                                         {"AXImage", 1, "AXDescription"},
                                         {"AXGroup", 1, "AXDescription"}}};

const std::vector<std::string>& vocabulary() {
  static const std::vector<std::string> words = {
      "Save",     "Open",     "Close",  "File",    "Edit",    "View",    "Window",   "Help",    "Insert", "Format",
      "Tools",    "Export",   "Import", "Print",   "Search",  "Replace", "Settings", "Account", "Sign",   "Out",
      "New",      "Delete",   "Rename", "Copy",    "Paste",   "Cut",     "Undo",     "Redo",    "Select", "All",
      "Document", "Page",     "Image",  "Table",   "Chart",   "Link",    "Header",   "Footer",  "Number", "Comment",
      "Share",    "Send",     "Reply",  "Forward", "Archive", "Mark",    "Unread",   "Folder",  "Inbox",  "Draft",
      "Next",     "Previous", "First",  "Last",    "Up",      "Down",    "Left",     "Right",   "Zoom",   "In",
      "the",      "of",       "and",    "to",      "for",     "with",    "from",     "by",      "on",     "at",
      "2024",     "100",      "3",      "v2",      "saveAs",  "lineEnd", "tabWidth", "a",       "b",      "x"};
  return words;
}

class Maker {
 public:
  explicit Maker(Texts texts) : texts_(texts) {}

  Json element(size_t number) {
    const Kind& kind = pickKind();
    const auto x = static_cast<double>(number % 60 * 30);
    const auto y = static_cast<double>(number / 60 % 50 * 20);
    return {{"attributes",
             {{"AXRole", kind.role},
              {kind.text, texts_ == Texts::ordinary ? ordinaryText() : hostileText()},
              {"AXPosition", {{"point", {x, y}}}},
              {"AXSize", {{"size", {number % 20 == 0 ? 4 : 28, 18}}}}}}};
  }

 private:
  size_t below(size_t limit) { return engine_() % limit; }

  const Kind& pickKind() {
    size_t left = below(20);
    for (const Kind& kind : kKinds) {
      if (left < kind.weight) {
        return kind;
      }
      left -= kind.weight;
    }
    return kKinds[0];
  }

  std::string words(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
      text += (i == 0 ? "" : " ") + vocabulary()[below(vocabulary().size())];
    }
    return text;
  }

  std::string ordinaryText() {
    switch (below(40)) {
      case 0:
        return words(30);
      case 1:
        return "Résumé " + words(1);
      case 2:
        return "Файл Щука " + words(1);
      case 3:
        return "漢字 " + words(1);
      case 4:
        return words(2) + "…";
      default:
        return words(1 + below(4)) + (below(3) == 0 ? " " + std::to_string(below(1000)) : "");
    }
  }

  std::string hostileText() {
    std::string text;
    switch (below(4)) {
      case 0:
        for (int i = 0; i < 49; ++i) {
          text += "s ";
        }
        return text;
      case 1:
        return std::string(500 + below(1500), 's') + "ave";
      case 2:
        for (int i = 0; i < 60; ++i) {
          text += "save the do\x01\n";
        }
        return text;
      default:
        return "straße " + std::string(200, 's') + " ﬁn";
    }
  }

  Texts texts_;
  std::mt19937 engine_{1};
};

Json references(size_t first, size_t end, const std::string& prefix) {
  Json list = Json::array();
  for (size_t i = first; i < end; ++i) {
    list.push_back({{"ref", prefix + std::to_string(i)}});
  }
  return list;
}

Json container(const char* role, Json children) {
  return {{"attributes",
           {{"AXRole", role},
            {"AXPosition", {{"point", {0, 0}}}},
            {"AXSize", {{"size", {1800, 1000}}}},
            {"AXChildren", std::move(children)}}}};
}

}  // namespace

std::string desktopWithElements(size_t elements, Texts texts) {
  Maker maker(texts);
  Json all = Json::object();
  const size_t groups = (elements + kGroupSize - 1) / kGroupSize;
  for (size_t i = 0; i < elements; ++i) {
    all["e" + std::to_string(i)] = maker.element(i);
  }
  for (size_t g = 0; g < groups; ++g) {
    all["g" + std::to_string(g)] =
        container("AXGroup", references(g * kGroupSize, std::min(elements, (g + 1) * kGroupSize), "e"));
  }
  all["window"] = container("AXWindow", references(0, groups, "g"));
  all["app"] = {{"attributes", {{"AXRole", "AXApplication"}, {"AXFocusedWindow", {{"ref", "window"}}}}}};
  const Json desktop = {
      {"screens", {{0, 0, 1800, 1000}}},
      {"pointer", {900, 500}},
      {"frontmost", kPid},
      {"applications", {{{"pid", kPid}, {"bundle_id", "org.example.bench"}, {"name", "Bench"}, {"element", "app"}}}},
      {"elements", std::move(all)}};
  return desktop.dump();
}

}  // namespace jumplark::bench
