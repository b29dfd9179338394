#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "backends/linux/system/FileDescriptor.h"

namespace jumplark {

/// A file that holds one JSON object. It is replaced as a whole: a reader, and the next start after a loss of power or
/// a kill, finds the old contents or the new ones. No call blocks on another program for longer than a moment.
class JsonFile {
 public:
  enum class State { read, absent, corrupt, unreadable };
  struct Contents {
    State state = State::absent;
    nlohmann::json object = nlohmann::json::object();
    std::string problem;  ///< with corrupt and unreadable
  };

  explicit JsonFile(std::filesystem::path path) : path_(std::move(path)) {}

  const std::filesystem::path& path() const { return path_; }
  Contents read() const;
  /// As read(), but gives a program that is writing in place a moment (0.2 s) to finish before the file counts as
  /// corrupt.
  Contents readWhole() const;
  /// Makes the folder where there is none. What went wrong, or an empty text. Only under the lock.
  std::string write(const nlohmann::json& object) const;
  /// Renames the file, to a name that no other file has, and tells it; none when that fails.
  std::optional<std::filesystem::path> setAside() const;
  /// Keeps other running copies of this program from replacing the file, until it is destroyed. None when another one
  /// does not give it up in time, or the folder cannot be opened.
  std::optional<FileDescriptor> lock() const;

 private:
  std::filesystem::path path_;
};

}  // namespace jumplark
