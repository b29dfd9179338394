#include "backends/linux/crash/Symbols.h"

#define BACKWARD_HAS_DW 1
#include <backward.hpp>
#include <cstdlib>
#include <filesystem>

#include "backends/linux/crash/BuildId.h"

namespace jumplark {
namespace {

std::string hexadecimal(BuildId id) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : id) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

std::string buildIdOf(const dl_phdr_info& module) {
  for (size_t i = 0; i < module.dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = module.dlpi_phdr[i];
    if (segment.p_type == PT_NOTE) {
      // NOLINTNEXTLINE(performance-no-int-to-ptr): so the dynamic linker tells it
      const auto* notes = reinterpret_cast<const uint8_t*>(module.dlpi_addr + segment.p_vaddr);
      if (const BuildId id = findBuildId({notes, segment.p_memsz}); !id.empty()) {
        return hexadecimal(id);
      }
    }
  }
  return {};
}

using Location = backward::ResolvedTrace::SourceLoc;

Symbols::Function functionAt(const std::string& name, const Location& place) {
  return {name, std::filesystem::path(place.filename).filename().string(), place.line};
}

}  // namespace

void keepSymbolsLocal() {
  ::unsetenv("DEBUGINFOD_URLS");
}

struct Symbols::Resolver {
  backward::TraceResolver impl;
};

Symbols::Symbols() : resolver_(std::make_unique<Resolver>()) {
  using Module = std::pair<std::string, uintptr_t>;
  std::vector<Module> modules;
  dl_iterate_phdr(
      [](dl_phdr_info* module, size_t /*size*/, void* list) {
        static_cast<std::vector<Module>*>(list)->emplace_back(buildIdOf(*module), module->dlpi_addr);
        return 0;
      },
      &modules);
  biases_.insert(modules.begin(), modules.end());
  biases_.erase("");
}

Symbols::~Symbols() = default;

std::vector<Symbols::Function> Symbols::at(const std::string& buildId, uint64_t offset) {
  const auto module = biases_.find(buildId);
  if (module == biases_.end()) {
    return {};
  }
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the sum of two numbers
  void* const address = reinterpret_cast<void*>(module->second + offset);
  const backward::ResolvedTrace trace = resolver_->impl.resolve(backward::ResolvedTrace(backward::Trace(address, 0)));
  const std::string& outermost = trace.object_function.empty() ? trace.source.function : trace.object_function;
  if (outermost.empty()) {
    return {};
  }
  // An entry for an inlined function tells its name, and the place where the next one out called it.
  std::vector<Function> functions;
  const Location* place = &trace.source;
  for (const Location& inlined : trace.inliners) {
    functions.push_back(functionAt(inlined.function, *place));
    place = &inlined;
  }
  functions.push_back(functionAt(outermost, *place));
  return functions;
}

}  // namespace jumplark
