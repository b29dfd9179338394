#include "backends/linux/system/JsonFile.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>

#include "backends/linux/system/WholeFile.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr auto kWriterPatience = std::chrono::milliseconds(200);
constexpr auto kWriterPause = std::chrono::milliseconds(20);
constexpr int kDeepest = 100;  // comparing and writing need stack for each level

JsonFile::Contents failure(JsonFile::State state, std::string problem) {
  return {state, nlohmann::json::object(), std::move(problem)};
}

/// The parser names it in English and in terms of its own.
std::string unreadableAt(std::string_view before) {
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  return localizedFormat("line {} cannot be understood", line);
}

JsonFile::Contents parse(const std::string& text) {
  try {
    bool isTooDeep = false;
    nlohmann::json object = nlohmann::json::parse(text, [&](int depth, auto, const auto&) {
      isTooDeep = isTooDeep || depth > kDeepest;
      return !isTooDeep;
    });
    if (isTooDeep) {
      return failure(JsonFile::State::corrupt, localized("it is nested too deeply"));
    }
    if (!object.is_object()) {
      return failure(JsonFile::State::corrupt, localized("it does not hold settings"));
    }
    return {JsonFile::State::read, std::move(object), {}};
  } catch (const nlohmann::json::parse_error& error) {
    return failure(JsonFile::State::corrupt, unreadableAt(std::string_view(text).substr(0, error.byte)));
  } catch (const nlohmann::json::exception&) {
    return failure(JsonFile::State::corrupt, localized("it does not hold settings"));
  }
}

}  // namespace

JsonFile::Contents JsonFile::read() const {
  const WholeFile file = readWholeFile(path_);
  switch (file.state) {
    case WholeFile::State::read:
      return parse(file.text);
    case WholeFile::State::absent:
      return {};
    case WholeFile::State::tooLarge:
      return failure(State::corrupt, file.problem);
    case WholeFile::State::unreadable:
      break;
  }
  return failure(State::unreadable, file.problem);
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
  return replaceWholeFile(path_, object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
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
  return lockFolder(path_.parent_path());
}

}  // namespace jumplark
