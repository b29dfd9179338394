#include "backends/linux/wayland/sway/SwayConfiguration.h"

#include <wordexp.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

#include "platform/Input.h"

namespace jumplark::sway {
namespace {

constexpr int kDeepestInclude = 8;
constexpr size_t kMostFileBytes = 1U << 20U;

constexpr std::pair<std::string_view, uint64_t> kModifiers[] = {
    {"mod4", modifier_flag::command}, {"super", modifier_flag::command},   {"mod1", modifier_flag::option},
    {"alt", modifier_flag::option},   {"control", modifier_flag::control}, {"ctrl", modifier_flag::control},
    {"shift", modifier_flag::shift}};

std::string lower(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

std::vector<std::string> wordsOf(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

class Parser {
 public:
  explicit Parser(const FileReader& files) : files_(files) {}

  void parse(std::string_view text, int depth) {
    std::istringstream stream{std::string(text)};
    std::string line;
    std::string part;
    while (std::getline(stream, part)) {
      line += part;
      if (!line.empty() && line.back() == '\\') {
        line.pop_back();
        continue;
      }
      handle(std::exchange(line, {}), depth);
    }
  }

  std::set<Combination> take() { return std::move(bound_); }

 private:
  enum class Block { none, bindings, other };

  void handle(const std::string& raw, int depth) {
    std::vector<std::string> words = wordsOf(raw);
    if (words.empty() || words.front().starts_with('#')) {
      return;
    }
    if (words.front() == "}") {
      inner_ > 0 ? --inner_ : (block_ = Block::none, 0);
      return;
    }
    if (words.front() == "set" && words.size() >= 3 && block_ == Block::none) {
      variables_[words[1]] = substitute(raw.substr(raw.find(words[2], raw.find(words[1]) + words[1].size())));
      return;
    }
    words = wordsOf(substitute(raw));
    const bool opens = words.back() == "{";
    if (block_ == Block::other) {
      inner_ += opens ? 1 : 0;
    } else if (block_ == Block::bindings) {
      bind(words, 0);
    } else if (opens) {
      block_ = words.front() == "bindsym" ? Block::bindings : Block::other;
    } else if (words.front() == "bindsym") {
      bind(words, 1);
    } else if (words.front() == "unbindsym") {
      if (const auto combination = combinationAt(words, 1)) {
        bound_.erase(*combination);
      }
    } else if (words.front() == "include" && words.size() >= 2 && depth < kDeepestInclude) {
      for (const std::string& contents : files_(words[1])) {
        parse(contents, depth + 1);
      }
    }
  }

  std::optional<Combination> combinationAt(const std::vector<std::string>& words, size_t first) const {
    const auto word = std::find_if(words.begin() + static_cast<std::ptrdiff_t>(std::min(first, words.size())),
                                   words.end(), [](const std::string& text) { return !text.starts_with("--"); });
    return word == words.end() ? std::nullopt : combinationOf(*word);
  }

  void bind(const std::vector<std::string>& words, size_t first) {
    if (const auto combination = combinationAt(words, first)) {
      bound_.insert(*combination);
    }
  }

  /// Longer names first, since "$mod" begins "$mode".
  std::string substitute(std::string text) const {
    for (auto variable = variables_.rbegin(); variable != variables_.rend(); ++variable) {
      const auto& [name, value] = *variable;
      for (size_t at = 0; name.size() > 1 && (at = text.find(name, at)) != std::string::npos; at += value.size()) {
        text.replace(at, name.size(), value);
      }
    }
    return text;
  }

  const FileReader& files_;
  std::map<std::string, std::string> variables_;
  std::set<Combination> bound_;
  Block block_ = Block::none;
  int inner_ = 0;
};

}  // namespace

FileReader filesBelow(std::filesystem::path folder) {
  return [folder = std::move(folder)](const std::string& pattern) {
    std::vector<std::string> contents;
    const bool isRelative =
        !pattern.empty() && pattern.front() != '/' && pattern.front() != '~' && pattern.front() != '$';
    wordexp_t found{};
    if (wordexp((isRelative ? (folder / pattern).string() : pattern).c_str(), &found, WRDE_NOCMD) != 0) {
      return contents;
    }
    for (size_t i = 0; i < found.we_wordc; ++i) {
      std::error_code error;
      const std::filesystem::path path = found.we_wordv[i];
      if (!std::filesystem::is_regular_file(path, error) || std::filesystem::file_size(path, error) > kMostFileBytes) {
        continue;
      }
      std::ifstream file(path);
      contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    wordfree(&found);
    return contents;
  };
}

std::set<Combination> boundCombinations(std::string_view configuration, const FileReader& files) {
  Parser parser(files);
  parser.parse(configuration, 0);
  return parser.take();
}

std::optional<Combination> combinationOf(std::string_view text) {
  Combination result{0, 0};
  while (!text.empty()) {
    const size_t end = std::min(text.find('+'), text.size());
    const std::string word(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const auto* const modifier =
        std::ranges::find(kModifiers, lower(word), &std::pair<std::string_view, uint64_t>::first);
    if (modifier != std::end(kModifiers)) {
      result.second |= modifier->second;
      continue;
    }
    const xkb_keysym_t symbol = xkb_keysym_from_name(word.c_str(), XKB_KEYSYM_CASE_INSENSITIVE);
    if (symbol == XKB_KEY_NoSymbol || result.first != 0) {
      return std::nullopt;
    }
    result.first = xkb_keysym_to_lower(symbol);
  }
  return result.first != 0 ? std::optional(result) : std::nullopt;
}

std::string textOf(const Combination& combination) {
  constexpr std::pair<uint64_t, const char*> kNames[] = {{modifier_flag::control, "Control+"},
                                                         {modifier_flag::option, "Mod1+"},
                                                         {modifier_flag::command, "Mod4+"},
                                                         {modifier_flag::shift, "Shift+"}};
  std::string text;
  for (const auto& [flag, name] : kNames) {
    text += (combination.second & flag) != 0 ? name : "";
  }
  std::array<char, 64> key{};
  return xkb_keysym_get_name(combination.first, key.data(), key.size()) > 0 ? text + key.data() : std::string();
}

}  // namespace jumplark::sway
