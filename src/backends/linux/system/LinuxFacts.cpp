#include "backends/linux/system/LinuxFacts.h"

#include <sys/random.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/Utf8.h"

namespace jumplark {
namespace {

constexpr size_t kLongestFact = 200;

std::string contentsOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Files of the system may hold anything; a fact is short and plain.
std::string plain(std::string_view text) {
  std::string fact(text.substr(0, kLongestFact));
  std::replace_if(
      fact.begin(), fact.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return fact;
}

/// The first value of a line `key<separator>value`; keys may be followed by spaces.
std::string_view valueOfLine(std::string_view contents, std::string_view key, char separator) {
  while (!contents.empty()) {
    const std::string_view line = contents.substr(0, contents.find('\n'));
    contents.remove_prefix(std::min(contents.size(), line.size() + 1));
    const size_t at = line.find(separator);
    if (at != std::string_view::npos && trimmed(line.substr(0, at)) == key) {
      return trimmed(line.substr(at + 1));
    }
  }
  return {};
}

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

SystemFacts::Application LinuxFacts::application() {
  return {"jumplark", JUMPLARK_VERSION, JUMPLARK_BUILD};
}

std::string LinuxFacts::osReleaseValue(std::string_view contents, std::string_view key) {
  std::string_view value = valueOfLine(contents, key, '=');
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return plain(value);
}

SystemFacts::OperatingSystem LinuxFacts::operatingSystem() {
  std::string release = contentsOf("/etc/os-release");
  if (release.empty()) {
    release = contentsOf("/usr/lib/os-release");
  }
  OperatingSystem system{osReleaseValue(release, "VERSION_ID"), osReleaseValue(release, "BUILD_ID")};
  utsname kernel{};
  if (system.build.empty() && ::uname(&kernel) == 0) {
    system.build = plain(kernel.release);
  }
  return system;
}

SystemFacts::Machine LinuxFacts::machine() {
  Machine machine;
  const std::string processors = contentsOf("/proc/cpuinfo");
  machine.cpu = plain(valueOfLine(processors, "model name", ':'));
  utsname kernel{};
  if (machine.cpu.empty() && ::uname(&kernel) == 0) {
    machine.cpu = plain(kernel.machine);
  }
  machine.coreCount = std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN));
  machine.memoryBytes = static_cast<uint64_t>(std::max(0L, ::sysconf(_SC_PHYS_PAGES))) *
                        static_cast<uint64_t>(std::max(0L, ::sysconf(_SC_PAGESIZE)));
  return machine;
}

std::string LinuxFacts::localeWithoutCharset(std::string_view name) {
  const std::string_view locale = name.substr(0, name.find_first_of(".@"));
  constexpr size_t kLongestName = 20;
  const bool isName = locale.size() <= kLongestName && std::all_of(locale.begin(), locale.end(), [](char c) {
                        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
                      });
  return isName ? std::string(locale) : std::string();
}

std::string LinuxFacts::localeIdentifier() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const std::string name = environment(variable); !name.empty()) {
      return localeWithoutCharset(name);
    }
  }
  return "C";
}

std::optional<uint64_t> LinuxFacts::residentMemoryBytes() {
  std::ifstream file("/proc/self/statm");
  uint64_t pages = 0;
  uint64_t residentPages = 0;
  file >> pages >> residentPages;
  return file ? std::optional(residentPages * static_cast<uint64_t>(::sysconf(_SC_PAGESIZE))) : std::nullopt;
}

bool LinuxFacts::trackingRefused() {
  const std::string wish = environment("DO_NOT_TRACK");
  return !wish.empty() && wish != "0";
}

SystemFacts::RandomBytes LinuxFacts::randomBytes() {
  RandomBytes bytes{};
  // As few bytes as these come whole, at the latest when the system has started.
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw std::system_error(errno, std::generic_category(), "no random bytes");
  }
  return bytes;
}

}  // namespace jumplark
