#include "backends/linux/crash/CrashFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "backends/linux/crash/ReportReader.h"
#include "backends/linux/crash/Symbols.h"
#include "backends/linux/system/WholeFile.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr off_t kLargestReport = off_t{256} << 10U;
constexpr const char* kReadingMark = "reading";  ///< is there while the names of functions are looked up

std::string systemError() {
  return textOfSystemError(errno);
}

/// "SECONDS-PID" and the ending.
bool isReportName(std::string_view name, std::string_view ending) {
  if (!name.ends_with(ending) || name.size() > 60) {
    return false;
  }
  name.remove_suffix(ending.size());
  return !name.empty() && name.find_first_not_of("0123456789-") == std::string_view::npos;
}

/// Oldest first: the seconds in the names have the same number of digits for centuries.
std::vector<std::string> reportsIn(int folder, std::string_view ending) {
  std::vector<std::string> names;
  // A descriptor of its own, since reading moves it.
  const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const auto close = [](DIR* open) { ::closedir(open); };
  const std::unique_ptr<DIR, decltype(close)> listing(copy >= 0 ? ::fdopendir(copy) : nullptr, close);
  while (const dirent* const entry = listing ? ::readdir(listing.get()) : nullptr) {
    if (isReportName(entry->d_name, ending)) {
      names.emplace_back(entry->d_name);
    }
  }
  std::ranges::sort(names);
  return names;
}

/// Removes the oldest, so that room is left for `room` more.
void prune(int folder, std::string_view ending, size_t room) {
  const std::vector<std::string> names = reportsIn(folder, ending);
  for (size_t i = 0; i + CrashFolder::kMostReports < names.size() + room; ++i) {
    ::unlinkat(folder, names[i].c_str(), 0);
  }
}

std::optional<std::string> readReport(int folder, const std::string& name) {
  const FileDescriptor file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) {
    spdlog::warn("The crash report {} cannot be read: {}", name, systemError());
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode) || status.st_uid != ::getuid() || status.st_size > kLargestReport) {
    spdlog::warn("The crash report {} is none", name);
    return std::nullopt;
  }
  std::string text(static_cast<size_t>(status.st_size), '\0');
  const ssize_t count = ::read(file.get(), text.data(), text.size());
  text.resize(count > 0 ? static_cast<size_t>(count) : 0);
  return text;
}

void keep(const std::filesystem::path& folder, const CrashReport& report) {
  if (const std::string problem = replaceWholeFile(folder / report.name, report.text); !problem.empty()) {
    spdlog::warn("The crash report {} cannot be kept: {}", report.name, problem);
  }
}

}  // namespace

std::filesystem::path CrashFolder::pathFromEnvironment() {
  const std::filesystem::path folder = userFolder("XDG_STATE_HOME", ".local/state");
  return folder.empty() ? folder : folder / "jumplark" / "crashes";
}

FileDescriptor CrashFolder::open(std::string& problem) const {
  problem = path_.empty() ? localized("there is no home folder") : makePrivateFolders(path_);
  if (!problem.empty()) {
    return {};
  }
  FileDescriptor folder(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  const bool isThere = folder && ::fstat(folder.get(), &status) == 0;
  if (isThere && status.st_uid != ::getuid()) {
    problem = localizedFormat("{} belongs to another user", path_.string());
  } else if (!isThere || ((status.st_mode & 077U) != 0 && ::fchmod(folder.get(), 0700) != 0)) {
    problem = fmt::format("{}: {}", path_.string(), systemError());
  }
  return problem.empty() ? std::move(folder) : FileDescriptor();
}

std::vector<CrashReport> CrashFolder::takeNew() {
  std::error_code error;
  if (path_.empty() || !std::filesystem::exists(path_, error)) {
    return {};
  }
  std::string problem;
  const FileDescriptor folder = open(problem);
  if (!folder) {
    spdlog::warn("Crash reports cannot be read: {}", problem);
    return {};
  }
  prune(folder.get(), ".raw", 0);
  const std::vector<std::string> waiting = reportsIn(folder.get(), ".raw");
  std::unique_ptr<Symbols> symbols;
  // A mark that is still there was left by a program that has died of looking.
  if (!waiting.empty() && ::unlinkat(folder.get(), kReadingMark, 0) != 0) {
    const FileDescriptor mark(::openat(folder.get(), kReadingMark, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    symbols = std::make_unique<Symbols>();
  }
  std::vector<CrashReport> reports;
  for (const std::string& name : waiting) {
    const std::optional<std::string> raw = readReport(folder.get(), name);
    if (raw && !raw->empty()) {
      reports.push_back({name.substr(0, name.size() - 4) + ".txt", readableReport(*raw, symbols.get())});
      prune(folder.get(), ".txt", 1);
      keep(path_, reports.back());
    }
    ::unlinkat(folder.get(), name.c_str(), 0);
  }
  ::unlinkat(folder.get(), kReadingMark, 0);
  return reports;
}

}  // namespace jumplark
