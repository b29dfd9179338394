#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace jumplark {

/// What can be said about this program, the machine and the session without looking at anything of the user's. All
/// texts are UTF-8; an unknown one is empty. Calls may come from any thread.
class SystemFacts {
 public:
  struct Application {
    std::string bundleIdentifier;
    std::string version;  ///< as people write it
    std::string build;
  };
  struct OperatingSystem {
    std::string version;
    std::string build;
  };
  struct Machine {
    std::string cpu;  ///< the maker's name of the processor
    int64_t coreCount = 0;
    uint64_t memoryBytes = 0;
  };
  using RandomBytes = std::array<uint8_t, 16>;

  virtual ~SystemFacts() = default;
  virtual Application application() = 0;
  virtual OperatingSystem operatingSystem() = 0;
  virtual Machine machine() = 0;
  /// Language and country of the session, like "de_AT".
  virtual std::string localeIdentifier() = 0;
  /// Memory of this process that is held in RAM, in bytes; none when the system does not tell.
  virtual std::optional<uint64_t> residentMemoryBytes() = 0;
  /// The user has asked every program, by the environment, to report nothing.
  virtual bool trackingRefused() = 0;
  /// Bytes that nobody can foretell, for identifiers.
  virtual RandomBytes randomBytes() = 0;
};

}  // namespace jumplark
