#pragma once

#include <string>
#include <string_view>

#include "platform/SystemFacts.h"

namespace jumplark {

/// Facts from the kernel's and the distribution's files and from the environment.
class LinuxFacts : public SystemFacts {
 public:
  Application application() override;
  /// VERSION_ID of the distribution; its BUILD_ID, else the kernel's release.
  OperatingSystem operatingSystem() override;
  Machine machine() override;
  std::string localeIdentifier() override;
  std::optional<uint64_t> residentMemoryBytes() override;
  /// DO_NOT_TRACK is set to anything but 0 or an empty text.
  bool trackingRefused() override;
  RandomBytes randomBytes() override;

  /// The value of a line KEY=value of os-release(5), without its quotes; empty when there is none.
  static std::string osReleaseValue(std::string_view contents, std::string_view key);
  /// "de_AT" of "de_AT.UTF-8@euro"; empty for what is no name of a locale.
  static std::string localeWithoutCharset(std::string_view name);
};

}  // namespace jumplark
