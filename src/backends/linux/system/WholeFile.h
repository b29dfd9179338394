#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "backends/linux/system/FileDescriptor.h"

/// Small files that are read and replaced as a whole. No call blocks on another program for longer than a moment.
namespace jumplark {

/// $VARIABLE, or `belowHome` below the user's home folder. Paths of the environment count only when they are absolute,
/// as the XDG rules for base directories demand. An empty path when the user has no home.
std::filesystem::path userFolder(const char* variable, const char* belowHome);

/// Creates the folder and those that it lies in, each for the user alone (0700); an existing one is left as it is.
/// What went wrong, or an empty text.
std::string makePrivateFolders(const std::filesystem::path& folder);

struct WholeFile {
  enum class State { read, absent, tooLarge, unreadable };
  State state = State::absent;
  std::string text;
  std::string problem;  ///< with tooLarge and unreadable
};

/// A file of more than 16 MiB, and what is no regular file, is not read.
WholeFile readWholeFile(const std::filesystem::path& path);

/// Replaces the file by one for the user alone (0600): a reader, and the next start after a loss of power or a kill,
/// finds the old contents or the new ones. What went wrong, or an empty text. Only under the folder's lock.
std::string replaceWholeFile(const std::filesystem::path& path, std::string_view text);

/// Keeps other running copies of this program from replacing files of the folder, until it is destroyed. None when
/// another one does not give it up in time, or the folder cannot be opened; errno tells then.
std::optional<FileDescriptor> lockFolder(const std::filesystem::path& folder);

}  // namespace jumplark
