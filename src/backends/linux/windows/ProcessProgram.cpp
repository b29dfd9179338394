#include "backends/linux/windows/ProcessProgram.h"

#include <fstream>
#include <string_view>
#include <system_error>

namespace jumplark {
namespace {

namespace fs = std::filesystem;

// The script that an interpreter was started with: the kernel names the process after it, in 15 characters.
fs::path scriptOf(const fs::path& folder, const std::string& processName) {
  std::ifstream arguments(folder / "cmdline");
  std::string interpreter;
  std::string script;
  std::getline(arguments, interpreter, '\0');
  std::getline(arguments, script, '\0');
  const bool named = !processName.empty() && fs::path(script).filename().string().starts_with(processName);
  std::error_code error;
  return named && script.starts_with('/') ? fs::canonical(script, error) : fs::path();
}

}  // namespace

ProcessProgram programOfProcess(int32_t pid) {
  constexpr std::string_view kDeleted = " (deleted)";
  const fs::path folder = "/proc/" + std::to_string(pid);
  std::error_code error;
  std::string file = fs::read_symlink(folder / "exe", error).string();
  if (file.ends_with(kDeleted)) {
    file.resize(file.size() - kDeleted.size());
  }
  ProcessProgram program{file, {}};
  if (program.path.has_filename()) {
    program.names.push_back(program.path.filename().string());
  }
  std::ifstream comm(folder / "comm");
  std::string processName;
  if (std::getline(comm, processName) && !processName.empty()) {
    program.names.push_back(processName);
  }
  if (const fs::path script = scriptOf(folder, processName); !script.empty()) {
    program.path = script;
    program.names.push_back(script.filename().string());
  }
  return program;
}

}  // namespace jumplark
