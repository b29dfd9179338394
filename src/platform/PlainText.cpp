#include "platform/PlainText.h"

#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Utf8.h"

namespace jumplark {
namespace {

using namespace std::string_view_literals;

constexpr std::array kSilent = {"head"sv, "script"sv, "style"sv, "template"sv, "title"sv, "noscript"sv};
constexpr std::array kOwnLine = {"address"sv, "article"sv, "aside"sv,   "blockquote"sv, "br"sv, "dd"sv,   "div"sv,
                                 "dl"sv,      "dt"sv,      "footer"sv,  "h1"sv,         "h2"sv, "h3"sv,   "h4"sv,
                                 "h5"sv,      "h6"sv,      "header"sv,  "hr"sv,         "li"sv, "main"sv, "ol"sv,
                                 "p"sv,       "pre"sv,     "section"sv, "table"sv,      "tr"sv, "ul"sv};

template <size_t Size>
bool isOneOf(const xmlNode* node, const std::array<std::string_view, Size>& names) {
  const std::string_view name = reinterpret_cast<const char*>(node->name);
  return node->type == XML_ELEMENT_NODE && std::find(names.begin(), names.end(), name) != names.end();
}

/// A text that grows piece by piece; runs of spaces become one, and lines are never empty.
class Lines {
 public:
  void add(std::string_view piece) {
    for (const char c : piece) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte <= ' ' || byte == 0x7F) {
        spacePending_ = true;
        continue;
      }
      if (std::exchange(spacePending_, false) && !text_.empty() && text_.back() != '\n') {
        text_ += ' ';
      }
      text_ += c;
    }
  }
  void breakLine() {
    spacePending_ = false;
    if (!text_.empty() && text_.back() != '\n') {
      text_ += '\n';
    }
  }
  std::string take() {
    breakLine();
    if (!text_.empty()) {
      text_.pop_back();
    }
    return std::move(text_);
  }

 private:
  std::string text_;
  bool spacePending_ = false;
};

void enter(const xmlNode* node, Lines& lines) {
  if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
    lines.add(reinterpret_cast<const char*>(node->content));
  } else if (isOneOf(node, kOwnLine)) {
    lines.breakLine();
    if (isOneOf(node, std::array{"li"sv})) {
      lines.add("\u2022 ");
    }
  }
}

std::string linesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    lines.add(line);
    lines.breakLine();
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return lines.take();
}

constexpr std::array kTagsOfToolTips = {
    "a"sv,    "b"sv,     "big"sv, "body"sv, "br"sv,   "center"sv, "code"sv,  "div"sv,  "em"sv,     "font"sv,
    "h1"sv,   "h2"sv,    "h3"sv,  "h4"sv,   "head"sv, "hr"sv,     "html"sv,  "i"sv,    "img"sv,    "li"sv,
    "nobr"sv, "ol"sv,    "p"sv,   "pre"sv,  "qt"sv,   "s"sv,      "small"sv, "span"sv, "strong"sv, "sub"sv,
    "sup"sv,  "table"sv, "td"sv,  "tr"sv,   "tt"sv,   "u"sv,      "ul"sv};

/// True where a tag begins at the start of the text, with its end somewhere in it.
bool beginsWithTag(std::string_view text) {
  text.remove_prefix(text.starts_with("</") ? 2 : 1);
  const std::string_view name = text.substr(0, text.find_first_of(" \t\n/>"));
  return std::ranges::find(kTagsOfToolTips, name) != kTagsOfToolTips.end() && text.find('>') != std::string_view::npos;
}

bool holdsTag(std::string_view text) {
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    if (beginsWithTag(text.substr(at))) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string withoutMarkUp(std::string text) {
  if (!holdsTag(text)) {
    return text;
  }
  std::string plain = plainTextOfHtml(text);
  return isBlank(plain) ? text : plain;
}

std::string plainTextOfHtml(std::string_view html) {
  if (html.find_first_of("<&") == std::string_view::npos) {
    return linesOf(html);
  }
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                     HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET),
      &xmlFreeDoc);
  Lines lines;
  // By the links between nodes, since mark-up may be nested deeper than a stack is.
  const xmlNode* node = document ? xmlDocGetRootElement(document.get()) : nullptr;
  while (node != nullptr) {
    enter(node, lines);
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr && !isOneOf(node, kSilent)) {
      node = node->children;
      continue;
    }
    while (node != nullptr && node->next == nullptr) {
      node = node->parent != nullptr && node->parent->type == XML_ELEMENT_NODE ? node->parent : nullptr;
      if (node != nullptr && isOneOf(node, kOwnLine)) {
        lines.breakLine();
      }
    }
    node = node != nullptr ? node->next : nullptr;
  }
  return lines.take();
}

}  // namespace jumplark
