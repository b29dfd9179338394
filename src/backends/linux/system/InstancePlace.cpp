#include "backends/linux/system/InstancePlace.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>

#include "platform/AttributeValue.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

/// `:0.1` and `:0` are one display. A byte that has no place in a file name is written as its number, so that two
/// displays never share a name.
std::string fileNameOf(std::string display) {
  const size_t colon = display.rfind(':');
  const size_t screen = colon == std::string::npos ? colon : display.find('.', colon);
  if (screen != std::string::npos) {
    display.resize(screen);
  }
  std::string name;
  for (const char c : display) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    name += plain ? std::string(1, c) : fmt::format("_{:02x}", static_cast<unsigned char>(c));
  }
  constexpr size_t kLongestName = 40;
  return name.size() <= kLongestName ? name : fmt::format("long-{:016x}", fnv1a64(name));
}

/// What is wrong with a folder that holds what only this user may touch; an empty text when nothing is.
std::string faultOf(const std::filesystem::path& folder) {
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0) {
    return textOfSystemError(errno);
  }
  if (!S_ISDIR(status.st_mode)) {
    return localized("it is not a folder");
  }
  if (status.st_uid != ::getuid()) {
    return localized("it belongs to another user");
  }
  return (status.st_mode & 077U) != 0 ? localized("other users can reach it") : "";
}

/// Makes the folder where there is none; its fault.
std::string makeOwnFolder(const std::filesystem::path& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    return textOfSystemError(errno);
  }
  return faultOf(folder);
}

std::optional<std::filesystem::path> runtimeFolder() {
  const char* const text = std::getenv("XDG_RUNTIME_DIR");
  const std::filesystem::path folder = text ? text : "";
  return folder.is_absolute() && faultOf(folder).empty() ? std::optional(folder / "jumplark") : std::nullopt;
}

std::filesystem::path temporaryFolder() {
  const char* const text = std::getenv("TMPDIR");
  const std::filesystem::path folder = text ? text : "";
  return (folder.is_absolute() ? folder : std::filesystem::path("/tmp")) / fmt::format("jumplark-{}", ::getuid());
}

}  // namespace

InstancePlace InstancePlace::inFolder(const std::filesystem::path& folder, const std::string& display) {
  InstancePlace place;
  if (std::string fault = makeOwnFolder(folder); !fault.empty()) {
    place.problem = localizedFormat("{} cannot be used: {}", folder.string(), fault);
    return place;
  }
  const std::string name = fileNameOf(display);
  place.socket = folder / ("display" + name + ".socket");
  place.lock = folder / ("display" + name + ".lock");
  if (place.socket.native().size() >= sizeof(sockaddr_un::sun_path)) {
    return {{}, {}, localizedFormat("{} cannot be used: {}", folder.string(), textOfSystemError(ENAMETOOLONG))};
  }
  return place;
}

InstancePlace InstancePlace::fromEnvironment() {
  const char* const text = std::getenv("DISPLAY");
  const std::string display = text ? text : "";
  if (const auto folder = runtimeFolder()) {
    InstancePlace place = inFolder(*folder, display);
    if (place.problem.empty()) {
      return place;
    }
  }
  return inFolder(temporaryFolder(), display);
}

FileDescriptor InstancePlace::takeLock(std::string& trouble) const {
  FileDescriptor file(::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) {
    trouble = fmt::format("{}: {}", lock.string(), textOfSystemError(errno));
    return {};
  }
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (::fcntl(file.get(), F_OFD_SETLK, &whole) != 0) {
    if (errno != EAGAIN && errno != EACCES) {
      trouble = fmt::format("{}: {}", lock.string(), textOfSystemError(errno));
    }
    return {};
  }
  return file;
}

bool InstancePlace::isLocked() const {
  const FileDescriptor file(::open(lock.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  // Asking does not take the lock, so an instance that starts meanwhile still gets it.
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  return file && ::fcntl(file.get(), F_OFD_GETLK, &whole) == 0 && whole.l_type != F_UNLCK;
}

}  // namespace jumplark
