#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the user's configuration of sway binds, sway(5).
namespace jumplark::sway {

/// A key with modifiers: X keysym of a letter in lower case, modifier flags as in platform/Input.h.
using Combination = std::pair<uint32_t, uint64_t>;

/// Gives the contents of the files that a pattern names, which may hold wildcards and "~"; files that cannot be read
/// are left out.
using FileReader = std::function<std::vector<std::string>(const std::string& pattern)>;

/// Reads real files; relative patterns count from the folder.
FileReader filesBelow(std::filesystem::path folder);

/// The combinations that are bound where no mode is on. Such as bind the number of a key ("bindcode") are left out, as
/// is what is bound at run time by others: sway does not tell.
std::set<Combination> boundCombinations(std::string_view configuration, const FileReader& files);

/// "Mod4+Control+Shift+space" as a combination; none when it names no key, or more than one.
std::optional<Combination> combinationOf(std::string_view text);
/// The other way round.
std::string textOf(const Combination& combination);

}  // namespace jumplark::sway
