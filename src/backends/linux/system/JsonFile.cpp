#include "backends/linux/system/JsonFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>

namespace jumplark {
namespace {

constexpr off_t kLargestFile = off_t{16} << 20U;
constexpr auto kLockPatience = std::chrono::milliseconds(500);
constexpr auto kLockPause = std::chrono::milliseconds(1);
constexpr auto kWriterPatience = std::chrono::milliseconds(200);
constexpr auto kWriterPause = std::chrono::milliseconds(20);

std::string systemError() {
  return std::generic_category().message(errno);
}

JsonFile::Contents failure(JsonFile::State state, std::string problem) {
  return {state, nlohmann::json::object(), std::move(problem)};
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

JsonFile::Contents parse(const std::string& text) {
  try {
    nlohmann::json object = nlohmann::json::parse(text);
    if (!object.is_object()) {
      return failure(JsonFile::State::corrupt, "it holds no JSON object");
    }
    return {JsonFile::State::read, std::move(object), {}};
  } catch (const nlohmann::json::exception& error) {
    return failure(JsonFile::State::corrupt, error.what());
  }
}

std::string writeTemporary(const std::filesystem::path& path, std::string_view text) {
  ::unlink(path.c_str());  // left by a process that was killed
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file || !writeAll(file.get(), text) || ::fsync(file.get()) != 0) {
    return systemError();
  }
  return {};
}

}  // namespace

std::string makePrivateFolders(const std::filesystem::path& folder) {
  std::filesystem::path made;
  for (const auto& part : folder) {
    made /= part;
    if (::mkdir(made.c_str(), 0700) != 0 && errno != EEXIST && errno != EROFS && errno != EACCES) {
      return systemError();
    }
  }
  std::error_code error;
  return std::filesystem::is_directory(folder, error) ? std::string()
                                                      : fmt::format("there is no folder {}", folder.string());
}

JsonFile::Contents JsonFile::read() const {
  // Without O_NONBLOCK opening a pipe would wait for its writer.
  const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) {
    return errno == ENOENT ? Contents() : failure(State::unreadable, systemError());
  }
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) {
    return failure(State::unreadable, systemError());
  }
  if (!S_ISREG(status.st_mode)) {
    return failure(State::unreadable, "it is not a regular file");
  }
  if (status.st_size > kLargestFile) {
    return failure(State::corrupt, "it is larger than 16 MiB");
  }
  const std::optional<std::string> text = readAll(file.get(), static_cast<size_t>(status.st_size));
  return text ? parse(*text) : failure(State::unreadable, systemError());
}

JsonFile::Contents JsonFile::readWhole() const {
  const auto deadline = std::chrono::steady_clock::now() + kWriterPatience;
  Contents contents = read();
  while (contents.state == State::corrupt && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kWriterPause);
    contents = read();
  }
  return contents;
}

std::string JsonFile::write(const nlohmann::json& object) const {
  const std::string text = object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  const std::filesystem::path temporary = path_.string() + ".new";
  std::string problem = writeTemporary(temporary, text);
  if (problem.empty() && ::rename(temporary.c_str(), path_.c_str()) != 0) {
    problem = systemError();
  }
  if (!problem.empty()) {
    ::unlink(temporary.c_str());
    return problem;
  }
  // The new name is on the disk only with its folder. Some file systems refuse this, and keep it by themselves.
  const FileDescriptor folder(::open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) {
    ::fsync(folder.get());
  }
  return {};
}

std::optional<std::filesystem::path> JsonFile::setAside() const {
  constexpr int kMostCopies = 1000;
  for (int number = 1; number <= kMostCopies; ++number) {
    std::filesystem::path aside = fmt::format("{}.broken-{}", path_.string(), number);
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
      return aside;
    }
    if (errno == EINVAL) {  // a file system without RENAME_NOREPLACE
      std::error_code error;
      if (!std::filesystem::exists(aside, error) && ::rename(path_.c_str(), aside.c_str()) == 0) {
        return aside;
      }
    } else if (errno != EEXIST) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<FileDescriptor> JsonFile::lock() const {
  FileDescriptor folder(::open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
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
