#include "backends/linux/wayland/kwin/KWinScripts.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "backends/linux/system/FileDescriptor.h"

namespace jumplark::kwin {
namespace {

const SessionBus::Object kScripting{"org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting"};

bool writeFile(const std::string& path, const std::string& text) {
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
  return file && ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

std::string KWinScripts::run(const std::string& name, const std::string& file, const std::string& script) {
  if (!writeFile(file, script)) {
    return fmt::format("{} cannot be written", file);
  }
  unload(name);
  const auto loaded = calls_.call(kScripting, "loadScript", [&](sd_bus_message* question) {
    return sd_bus_message_append(question, "ss", file.c_str(), name.c_str());
  });
  const int32_t number = loaded.values.at(0).number();
  if (loaded.result != SessionBus::Result::answered || number < 0) {
    return fmt::format("KWin loads no script: {}", loaded.error);
  }
  // KWin 6 and 5.27.
  for (const char* const pattern : {"/Scripting/Script{}", "/{}"}) {
    const SessionBus::Object object{"org.kde.KWin", fmt::format(fmt::runtime(pattern), number), "org.kde.kwin.Script"};
    if (calls_.call(object, "run").result == SessionBus::Result::answered) {
      return {};
    }
  }
  unload(name);
  return "KWin does not run its scripts";
}

void KWinScripts::unload(const std::string& name) {
  calls_.call(kScripting, "unloadScript",
              [&](sd_bus_message* question) { return sd_bus_message_append(question, "s", name.c_str()); });
}

bool KWinScripts::isLoaded(const std::string& name) {
  const auto answer = calls_.call(kScripting, "isScriptLoaded", [&](sd_bus_message* question) {
    return sd_bus_message_append(question, "s", name.c_str());
  });
  return answer.values.at(0).number() != 0;
}

}  // namespace jumplark::kwin
