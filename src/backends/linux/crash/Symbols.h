#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace jumplark {

/// Keeps the library that reads symbols from asking servers for them, which the environment can tell it to do. To be
/// called before there is another thread.
void keepSymbolsLocal();

/// Names the functions of the modules that this process has loaded. A module is known by its build id, so a name is
/// never that of another build.
class Symbols {
 public:
  struct Function {
    std::string name;
    std::string file;  ///< without its folders; empty when the module does not tell
    unsigned line = 0;
  };

  Symbols();
  Symbols(const Symbols&) = delete;
  Symbols& operator=(const Symbols&) = delete;
  ~Symbols();

  /// The function at an address of the module's file, and after it those that it was inlined in, from the inside out.
  /// None where the module is not loaded here. `buildId` in hexadecimal digits.
  std::vector<Function> at(const std::string& buildId, uint64_t offset);

 private:
  struct Resolver;
  std::map<std::string, uintptr_t> biases_;  ///< of the loaded modules, by build id
  std::unique_ptr<Resolver> resolver_;
};

}  // namespace jumplark
