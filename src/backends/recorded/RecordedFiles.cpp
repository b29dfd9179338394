#include "backends/recorded/RecordedFiles.h"

namespace jumplark {
namespace {

constexpr const char* kReadOnly = "Read-only file system";

}  // namespace

FileStore::Folder RecordedFiles::applicationSupportDirectory() {
  const std::scoped_lock lock(mutex_);
  return hasFolder_ ? Folder{"/home/user/.local/share/jumplark", {}} : Folder{{}, kReadOnly};
}

FileStore::Contents RecordedFiles::read(const std::string& path) {
  const std::scoped_lock lock(mutex_);
  const auto found = files_.find(path);
  if (found == files_.end()) {
    return {};
  }
  return readable_ ? Contents{State::read, found->second, {}} : Contents{State::failed, {}, "Input/output error"};
}

std::string RecordedFiles::replace(const std::string& path, const std::string& text) {
  const std::scoped_lock lock(mutex_);
  if (!writable_) {
    return kReadOnly;
  }
  files_[path] = text;
  return {};
}

std::string RecordedFiles::remove(const std::string& path) {
  const std::scoped_lock lock(mutex_);
  if (!writable_ && files_.contains(path)) {
    return kReadOnly;
  }
  files_.erase(path);
  return {};
}

std::optional<std::string> RecordedFiles::contents(const std::string& path) const {
  const std::scoped_lock lock(mutex_);
  const auto found = files_.find(path);
  return found != files_.end() ? std::optional(found->second) : std::nullopt;
}

void RecordedFiles::put(const std::string& path, const std::string& text) {
  const std::scoped_lock lock(mutex_);
  files_[path] = text;
}

void RecordedFiles::setReadable(bool readable) {
  const std::scoped_lock lock(mutex_);
  readable_ = readable;
}

void RecordedFiles::setWritable(bool writable) {
  const std::scoped_lock lock(mutex_);
  writable_ = writable;
}

void RecordedFiles::setHasFolder(bool hasFolder) {
  const std::scoped_lock lock(mutex_);
  hasFolder_ = hasFolder;
}

}  // namespace jumplark
