#pragma once

#include <string>

namespace jumplark {

/// Files that the program keeps for its user alone. Paths are UTF-8 and absolute. Calls may come from any thread.
class FileStore {
 public:
  enum class State { read, absent, failed };
  struct Contents {
    State state = State::absent;
    std::string text;     ///< the bytes, as they are
    std::string problem;  ///< with failed
  };
  struct Folder {
    std::string path;     ///< empty when there is none and none can be made
    std::string problem;  ///< why
  };

  virtual ~FileStore() = default;
  /// The folder for the program's own data, made where it is missing, closed to other users.
  virtual Folder applicationSupportDirectory() = 0;
  /// A file of more than 16 MiB is not read.
  virtual Contents read(const std::string& path) = 0;
  /// Replaces the file as a whole, closed to other users: whoever reads it, also after a kill or a loss of power, finds
  /// the old contents or the new ones. What went wrong, or an empty text; the old file is there then.
  virtual std::string replace(const std::string& path, const std::string& text) = 0;
  /// What went wrong, or an empty text. That there is no such file is nothing wrong.
  virtual std::string remove(const std::string& path) = 0;
};

}  // namespace jumplark
