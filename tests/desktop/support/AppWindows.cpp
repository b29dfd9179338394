#include "desktop/support/AppWindows.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::optional<AccessibleElement> AppWindows::find(const std::string& role, const std::string& name) {
  // The topmost window comes last on the bus.
  std::optional<AccessibleElement> found;
  for (const AccessibleElement& element : readApplication(session_, "Jumplark")) {
    if (element.role == role && element.name.starts_with(name)) {
      found = element;
    }
  }
  return found;
}

AccessibleElement AppWindows::waitFor(const std::string& role, const std::string& name) {
  std::optional<AccessibleElement> found;
  if (!waitUntil([&] { return (found = find(role, name)).has_value(); })) {
    std::ostringstream there;
    for (const AccessibleElement& element : readApplication(session_, "Jumplark")) {
      there << '\n' << element.role << " '" << element.name << "' " << element.rect;
    }
    throw std::runtime_error("there is no " + role + " '" + name + "', but" + there.str());
  }
  return *found;
}

bool AppWindows::waitForState(const std::string& role, const std::string& name, const std::string& state, bool is) {
  return waitUntil([&] {
    const auto found = find(role, name);
    return found && found->is(state) == is;
  });
}

bool AppWindows::waitUntilGone(const std::string& role, const std::string& name) {
  return waitUntil([&] { return !shows(role, name); });
}

void AppWindows::click(const std::string& role, const std::string& name) {
  // A window is told its final place a moment after it shows.
  AccessibleElement element = waitFor(role, name);
  waitUntil([&] {
    const PixelRect before = element.rect;
    element = waitFor(role, name);
    const auto window = session_.findWindow([&](const SessionWindow& candidate) {
      return candidate.id == session_.activeWindow() && candidate.rect.contains(element.rect.x, element.rect.y);
    });
    return window && element.rect == before;
  });
  session_.keys({"mousemove", std::to_string(element.rect.x + element.rect.width / 2),
                 std::to_string(element.rect.y + element.rect.height / 2), "click", "1"});
}

fs::path AppWindows::settingsFile() const {
  return fs::path(session_.environment().at("XDG_CONFIG_HOME")) / "jumplark" / "defaults.json";
}

nlohmann::json AppWindows::settings() const {
  const auto parsed = nlohmann::json::parse(contentsOf(settingsFile()), nullptr, false);
  return parsed.is_object() ? parsed : nlohmann::json();
}

bool AppWindows::waitForSetting(const std::string& key, const nlohmann::json& value) const {
  return waitUntil([&] {
    const nlohmann::json all = settings();
    return all.is_object() && all.value(key, nlohmann::json()) == value;
  });
}

void AppWindows::changeSetting(const std::string& key, const nlohmann::json& value) const {
  nlohmann::json all = settings();
  all[key] = value;
  writeSettings(all.dump());
}

void AppWindows::writeSettings(const std::string& text) const {
  fs::create_directories(settingsFile().parent_path());
  const fs::path next = settingsFile().string() + ".edited";
  std::ofstream(next) << text;
  fs::rename(next, settingsFile());
}

FakePrograms::FakePrograms(PrivateSession& session, const std::vector<std::string>& programs)
    : folder_(fs::path(session.folder()) / "programs") {
  fs::create_directories(folder_);
  for (const std::string& program : programs) {
    const fs::path path = folder_ / program;
    std::ofstream(path) << "#!/bin/sh\necho \"$*\" >'" << path.string() << ".part'\nmv '" << path.string() << ".part' '"
                        << path.string() << ".called'\n";
    fs::permissions(path, fs::perms::owner_all);
  }
}

Environment FakePrograms::environment() const {
  const char* const path = std::getenv("PATH");
  return {{"PATH", folder_.string() + ":" + (path != nullptr ? path : "")}};
}

std::optional<std::string> FakePrograms::callOf(const std::string& program) const {
  const fs::path called = folder_ / (program + ".called");
  return fs::exists(called) ? std::optional(contentsOf(called)) : std::nullopt;
}

}  // namespace jumplark::desktop
