#include "backends/linux/crash/ReportReader.h"

#include <cxxabi.h>
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "backends/linux/crash/Symbols.h"

namespace jumplark {
namespace {

constexpr size_t kLongestLine = 300;
constexpr size_t kMostLines = 400;

std::string plain(std::string_view text) {
  std::string line(text.substr(0, kLongestLine));
  std::ranges::replace_if(
      line, [](char c) { return c < ' ' || c > '~'; }, '?');
  return line;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty() && lines.size() < kMostLines) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

template <typename Number>
std::optional<Number> number(std::string_view text, int base) {
  Number value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::optional<std::string_view> after(std::string_view line, std::string_view start) {
  return line.starts_with(start) ? std::optional(line.substr(start.size())) : std::nullopt;
}

std::string demangled(std::string_view name) {
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(std::string(name).c_str(), nullptr, nullptr, nullptr), &std::free);
  return text ? text.get() : std::string(name);
}

std::string headerLine(std::string_view line) {
  if (const auto seconds = after(line, "Time: ")) {
    const auto time = number<std::time_t>(*seconds, 10);
    tm parts{};
    return time && gmtime_r(&*time, &parts) != nullptr ? fmt::format("Time: {:%Y-%m-%d %H:%M:%S} UTC", parts)
                                                       : std::string();
  }
  if (const auto type = after(line, "Exception: ")) {
    return "Exception: " + plain(demangled(*type));
  }
  return plain(line);
}

struct Frame {
  std::string_view index;
  std::string_view address;
  std::string_view path;  ///< empty when the address lies in no module
  uint64_t offset = 0;
};

/// "#INDEX ADDRESS" or "#INDEX ADDRESS PATH +OFFSET"
std::optional<Frame> frameOf(std::string_view line) {
  const auto rest = after(line, "#");
  const size_t addressAt = rest ? rest->find(" 0x") : std::string_view::npos;
  if (addressAt == std::string_view::npos) {
    return std::nullopt;
  }
  Frame frame;
  frame.index = rest->substr(0, addressAt);
  frame.address = rest->substr(addressAt + 1);
  const size_t pathAt = frame.address.find(' ');
  if (pathAt == std::string_view::npos) {
    return frame;
  }
  const std::string_view place = frame.address.substr(pathAt + 1);
  frame.address = frame.address.substr(0, pathAt);
  const size_t offsetAt = place.rfind(" +0x");
  if (offsetAt == std::string_view::npos) {
    return frame;
  }
  const auto offset = number<uint64_t>(place.substr(offsetAt + 4), 16);
  if (offset) {
    frame.path = place.substr(0, offsetAt);
    frame.offset = *offset;
  }
  return frame;
}

/// Build ids by the path of the module.
std::map<std::string_view, std::string> modulesOf(const std::vector<std::string_view>& lines) {
  std::map<std::string_view, std::string> modules;
  for (const std::string_view line : lines) {
    const auto module = after(line, "@");
    const size_t space = module ? module->find(" /") : std::string_view::npos;
    if (space != std::string_view::npos) {
      modules.emplace(module->substr(space + 1), module->substr(0, space));
    }
  }
  return modules;
}

std::string_view fileName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string described(const Symbols::Function& function) {
  const std::string place = function.file.empty() ? "" : fmt::format(" ({}:{})", function.file, function.line);
  return plain(function.name + place);
}

std::string frameLines(const Frame& frame, const std::map<std::string_view, std::string>& modules, Symbols* symbols) {
  if (frame.path.empty()) {
    return fmt::format("{:>3}  {}\n", plain(frame.index), plain(frame.address));
  }
  std::string lines = fmt::format("{:>3}  {}+{:#x}", plain(frame.index), plain(fileName(frame.path)), frame.offset);
  const auto module = modules.find(frame.path);
  if (symbols != nullptr && module != modules.end()) {
    const char* before = "  ";
    for (const Symbols::Function& function : symbols->at(module->second, frame.offset)) {
      lines += before + described(function);
      before = "\n       inlined in ";
    }
  }
  return lines + "\n";
}

}  // namespace

std::string readableReport(std::string_view raw, Symbols* symbols) {
  const std::vector<std::string_view> lines = linesOf(raw);
  const auto modules = modulesOf(lines);
  std::string report;
  bool isWhole = false;
  bool inHeader = true;
  for (const std::string_view line : lines) {
    isWhole = line == "End";
    if (isWhole) {
      continue;
    }
    if (line == "Stack:") {
      inHeader = false;
      report += "\nStack:\n";
    } else if (inHeader) {
      report += line.empty() ? "" : headerLine(line) + "\n";
    } else if (const auto frame = frameOf(line)) {
      report += frameLines(*frame, modules, symbols);
    }
  }
  report += modules.empty() ? "" : "\nModules:\n";
  for (const auto& [path, buildId] : modules) {
    report += fmt::format("  {}  {}\n", plain(fileName(path)), plain(buildId));
  }
  return isWhole ? report : report + "\nThe report breaks off here.\n";
}

}  // namespace jumplark
