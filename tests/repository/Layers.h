#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace jumplark::repository {

/// A source file: its path below src/ and what is in it.
struct Source {
  std::string path;
  std::string text;
};

/// The folders below `folder` that the CMake files of `root` add, in their order, what a folder adds itself before it.
std::vector<std::string> addedFolders(const std::filesystem::path& root, const std::string& folder = "");

/// What breaks the layers, one sentence an offence, with path and line:
/// - an include of a folder that comes after the file's own in `order`, or that is not in it;
/// - a backend that includes the core (backends know the interfaces of platform/ and each other);
/// - in the core (every folder but backends/ and cli/) a header of a window system, toolkit or message bus, or a
///   preprocessor condition on a platform.
/// A file belongs to the longest folder of `order` that its path begins with.
std::vector<std::string> layerOffences(const std::vector<Source>& sources, const std::vector<std::string>& order);

}  // namespace jumplark::repository
