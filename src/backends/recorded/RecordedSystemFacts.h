#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/SystemFacts.h"

namespace jumplark {

/// The facts of a machine that does not exist. A test may change them while nothing else uses them.
class RecordedSystemFacts : public SystemFacts {
 public:
  Application application() override { return applicationFacts; }
  OperatingSystem operatingSystem() override { return operatingSystemFacts; }
  Machine machine() override { return machineFacts; }
  std::string localeIdentifier() override { return locale; }
  std::optional<uint64_t> residentMemoryBytes() override { return residentMemory; }
  bool trackingRefused() override { return refused; }
  /// Counts up, so that no two are alike and every run has the same.
  RandomBytes randomBytes() override {
    RandomBytes bytes{};
    bytes.back() = ++count_;
    return bytes;
  }

  Application applicationFacts{"jumplark", "1.2", "34"};
  OperatingSystem operatingSystemFacts{"12", "6.1.0"};
  Machine machineFacts{"Recorded Processor", 4, uint64_t{8} << 30U};
  std::string locale = "en_US";
  std::optional<uint64_t> residentMemory = uint64_t{50} << 20U;
  bool refused = false;

 private:
  std::atomic<uint8_t> count_{0};
};

}  // namespace jumplark
