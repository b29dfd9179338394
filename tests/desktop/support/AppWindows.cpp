#include "desktop/support/AppWindows.h"

#include "support/TemporaryFolder.h"

namespace jumplark::desktop {
namespace fs = std::filesystem;
namespace {

nlohmann::json settingsIn(const fs::path& file) {
  auto parsed = nlohmann::json::parse(testing::readFile(file), nullptr, false);
  return parsed.is_object() ? parsed : nlohmann::json::object();
}

/// Others never see half of it.
void replaceFile(const fs::path& file, const std::string& text) {
  const fs::path next = file.string() + ".edited";
  testing::writeFile(next, text);
  fs::permissions(next, fs::perms::owner_all);
  fs::rename(next, file);
}

}  // namespace

fs::path AppWindows::settingsFile() const {
  return fs::path(session_.environment().at("XDG_CONFIG_HOME")) / "jumplark" / "defaults.json";
}

bool AppWindows::waitForSetting(const std::string& key, const nlohmann::json& value) const {
  return waitUntil([&] { return settingsIn(settingsFile()).value(key, nlohmann::json()) == value; });
}

void AppWindows::changeSetting(const std::string& key, const nlohmann::json& value) const {
  nlohmann::json all = settingsIn(settingsFile());
  all[key] = value;
  replaceFile(settingsFile(), all.dump());
}

FakePrograms::FakePrograms(PrivateSession& session) : folder_(fs::path(session.folder()) / "programs") {}

void FakePrograms::put(const std::string& name, const std::string& given) const {
  const std::string calls = (folder_ / (name + ".calls")).string();
  replaceFile(folder_ / name, "#!/bin/sh\n" + given + "\necho called \"$*\" >>'" + calls + "'\n");
}

Environment FakePrograms::environment(bool andOthers) const {
  return {{"PATH", folder_.string() + (andOthers ? std::string(":") + std::getenv("PATH") : "")}};
}

bool FakePrograms::waitForCall(const std::string& name, const std::string& with) const {
  return waitUntil([&] {
    const std::string calls = testing::readFile(folder_ / (name + ".calls"));
    return !calls.empty() && calls.find(with) != std::string::npos;
  });
}

}  // namespace jumplark::desktop
