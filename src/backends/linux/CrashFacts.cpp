#include "backends/linux/CrashFacts.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <gnu/libc-version.h>
#include <sys/utsname.h>

#include <QtGlobal>
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "backends/linux/system/LinuxFacts.h"

namespace jumplark {
namespace {

constexpr size_t kLongestValue = 100;

std::string plain(std::string_view text) {
  std::string value(text.substr(0, kLongestValue));
  std::ranges::replace_if(
      value, [](char c) { return c < ' ' || c > '~'; }, '?');
  return value;
}

/// Names of desktops are plain words; anything else is nobody's business.
std::string desktopName() {
  const char* const text = std::getenv("XDG_CURRENT_DESKTOP");
  const std::string name = plain(text != nullptr ? text : "");
  const bool isName = std::ranges::all_of(name, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ':' || c == '-' ||
           c == '_';
  });
  return isName && !name.empty() ? name : "unknown";
}

/// The library and what it encrypts with, of the long list that it gives.
std::string httpLibraries() {
  const std::string all = curl_version();
  const size_t first = std::min(all.find(' '), all.size());
  return plain(all.substr(0, all.find(' ', first + 1)));
}

}  // namespace

std::string crashFacts(std::string_view windowSystem) {
  LinuxFacts facts;
  const auto application = facts.application();
  const auto system = facts.operatingSystem();
  utsname kernel{};
  ::uname(&kernel);
  return fmt::format(
      "Program: Jumplark {}, build {}\n"
      "Libraries: Qt {}, glibc {}, {}\n"
      "{}\n"
      "System: version {}, {} {} {}\n"
      "Desktop: {}\n",
      plain(application.version), plain(application.build), qVersion(), gnu_get_libc_version(), httpLibraries(),
      plain(windowSystem), plain(system.version), plain(kernel.sysname), plain(kernel.release), plain(kernel.machine),
      desktopName());
}

}  // namespace jumplark
