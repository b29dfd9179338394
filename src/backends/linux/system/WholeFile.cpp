#include "backends/linux/system/WholeFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr off_t kLargestFile = off_t{16} << 20U;
constexpr auto kLockPatience = std::chrono::milliseconds(500);
constexpr auto kLockPause = std::chrono::milliseconds(1);

std::string systemError() {
  return textOfSystemError(errno);
}

WholeFile unreadable(std::string problem) {
  return {WholeFile::State::unreadable, {}, std::move(problem)};
}

std::optional<std::string> readAll(int descriptor, size_t size) {
  std::string text(size, '\0');
  size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t count = ::read(descriptor, text.data() + filled, text.size() - filled);
    if (count < 0 && errno != EINTR) {
      return std::nullopt;
    }
    if (count == 0) {
      break;
    }
    filled += count > 0 ? static_cast<size_t>(count) : 0;
  }
  text.resize(filled);
  return text;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    text.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
  }
  return true;
}

std::string writeTemporary(const std::filesystem::path& path, std::string_view text) {
  ::unlink(path.c_str());  // left by a process that was killed
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file || !writeAll(file.get(), text) || ::fsync(file.get()) != 0) {
    return systemError();
  }
  return {};
}

std::filesystem::path absolutePath(const char* text) {
  std::filesystem::path path = text ? text : "";
  return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path homeFolder() {
  std::filesystem::path home = absolutePath(std::getenv("HOME"));
  if (home.empty()) {
    const passwd* const user = ::getpwuid(::getuid());
    home = absolutePath(user ? user->pw_dir : nullptr);
  }
  return home;
}

}  // namespace

std::filesystem::path userFolder(const char* variable, const char* belowHome) {
  std::filesystem::path folder = absolutePath(std::getenv(variable));
  if (folder.empty()) {
    const std::filesystem::path home = homeFolder();
    folder = home.empty() ? home : home / belowHome;
  }
  return folder;
}

std::string makePrivateFolders(const std::filesystem::path& folder) {
  std::filesystem::path made;
  int refused = 0;
  for (const auto& part : folder) {
    made /= part;
    if (::mkdir(made.c_str(), 0700) == 0 || errno == EEXIST) {
      continue;
    }
    // A folder above may be closed and the one in it be there all the same; else the first refusal is the reason.
    if (refused == 0) {
      refused = errno;
    }
    if (errno != EROFS && errno != EACCES) {
      return textOfSystemError(refused);
    }
  }
  std::error_code error;
  if (std::filesystem::is_directory(folder, error)) {
    return {};
  }
  return refused != 0 ? textOfSystemError(refused) : localizedFormat("there is no folder {}", folder.string());
}

WholeFile readWholeFile(const std::filesystem::path& path) {
  // Without O_NONBLOCK opening a pipe would wait for its writer.
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) {
    return errno == ENOENT ? WholeFile() : unreadable(systemError());
  }
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) {
    return unreadable(systemError());
  }
  if (!S_ISREG(status.st_mode)) {
    return unreadable(localized("it is not an ordinary file"));
  }
  if (status.st_size > kLargestFile) {
    return {WholeFile::State::tooLarge, {}, localized("it is larger than 16 MiB")};
  }
  std::optional<std::string> text = readAll(file.get(), static_cast<size_t>(status.st_size));
  return text ? WholeFile{WholeFile::State::read, std::move(*text), {}} : unreadable(systemError());
}

std::string replaceWholeFile(const std::filesystem::path& path, std::string_view text) {
  const std::filesystem::path temporary = path.string() + ".new";
  std::string problem = writeTemporary(temporary, text);
  if (problem.empty() && ::rename(temporary.c_str(), path.c_str()) != 0) {
    problem = systemError();
  }
  if (!problem.empty()) {
    ::unlink(temporary.c_str());
    return problem;
  }
  // The new name is on the disk only with its folder. Some file systems refuse this, and keep it by themselves.
  const FileDescriptor folder(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) {
    ::fsync(folder.get());
  }
  return {};
}

std::optional<FileDescriptor> lockFolder(const std::filesystem::path& path) {
  FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) {
    return std::nullopt;
  }
  const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
  while (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return folder;  // a file system that knows no locks
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      errno = EWOULDBLOCK;
      return std::nullopt;
    }
    std::this_thread::sleep_for(kLockPause);
  }
  return folder;
}

}  // namespace jumplark
