#include "backends/linux/system/PrivateFiles.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "backends/linux/system/WholeFile.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

std::string systemError() {
  return textOfSystemError(errno);
}

/// What keeps a folder from being the user's alone, once that has been tried; an empty text when nothing does.
std::string closeToOthers(const std::filesystem::path& folder) {
  const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat status {};
  if (!opened || ::fstat(opened.get(), &status) != 0) {
    return fmt::format("{}: {}", folder.string(), systemError());
  }
  if (status.st_uid != ::getuid()) {
    return localizedFormat("{} belongs to another user", folder.string());
  }
  if ((status.st_mode & 077U) != 0 && ::fchmod(opened.get(), 0700) != 0) {
    return fmt::format("{}: {}", folder.string(), systemError());
  }
  return {};
}

}  // namespace

std::filesystem::path PrivateFiles::folderFromEnvironment() {
  const std::filesystem::path folder = userFolder("XDG_DATA_HOME", ".local/share");
  return folder.empty() ? folder : folder / "jumplark";
}

FileStore::Folder PrivateFiles::applicationSupportDirectory() {
  if (folder_.empty()) {
    return {{}, localized("there is no home folder")};
  }
  std::string problem = makePrivateFolders(folder_);
  if (problem.empty()) {
    problem = closeToOthers(folder_);
  }
  return problem.empty() ? Folder{folder_.string(), {}} : Folder{{}, problem};
}

FileStore::Contents PrivateFiles::read(const std::string& path) {
  WholeFile file = readWholeFile(path);
  switch (file.state) {
    case WholeFile::State::read:
      return {State::read, std::move(file.text), {}};
    case WholeFile::State::absent:
      return {};
    case WholeFile::State::tooLarge:
    case WholeFile::State::unreadable:
      break;
  }
  return {State::failed, {}, std::move(file.problem)};
}

std::string PrivateFiles::replace(const std::string& path, const std::string& text) {
  const std::optional<FileDescriptor> lock = lockFolder(std::filesystem::path(path).parent_path());
  return lock ? replaceWholeFile(path, text) : systemError();
}

std::string PrivateFiles::remove(const std::string& path) {
  return ::unlink(path.c_str()) == 0 || errno == ENOENT ? std::string() : systemError();
}

}  // namespace jumplark
