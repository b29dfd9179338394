#include "backends/linux/wayland/kwin/KWinChecks.h"

#include <filesystem>
#include <string>

#include "platform/Texts.h"

namespace jumplark::kwin {
namespace {

/// KWin looks for the desktop file by the program's path.
std::string remedy() {
  std::error_code error;
  const std::string program = std::filesystem::read_symlink("/proc/self/exe", error).string();
  return localizedFormat(
      "Install the package of Jumplark. Or put a desktop file with the lines Exec={} and "
      "X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input into the folder "
      "~/.local/share/applications, and start Jumplark again.",
      program);
}

}  // namespace

std::vector<DesktopCheck> inputChecks(const WaylandConnection& connection) {
  if (connection.globals().fakeInput != nullptr) {
    return {{localized("pointer"), DesktopCheck::ok, localized("The compositor takes clicks of ours."), {}},
            {localized("keyboard"), DesktopCheck::ok, localized("The compositor takes keys of ours."), {}}};
  }
  return {{localized("pointer"), DesktopCheck::failure,
           localized("KWin takes no clicks of this program, since no desktop file says that it may click, so nothing "
                     "can be pressed."),
           remedy()},
          {localized("keyboard"), DesktopCheck::warning,
           localized("KWin takes no keys of this program, so modifiers that are held count for clicks."), remedy()}};
}

DesktopCheck shortcutCheck(BusCalls& calls) {
  const auto answer =
      calls.call({"org.kde.kglobalaccel", "/kglobalaccel", "org.kde.KGlobalAccel"}, "allMainComponents");
  if (answer.result == SessionBus::Result::answered) {
    return {localized("global shortcuts"), DesktopCheck::ok, localized("KDE keeps shortcuts for programs."), {}};
  }
  return {localized("global shortcuts"), DesktopCheck::warning,
          localized("KDE's service of global shortcuts (kglobalaccel) does not answer, so the query has no shortcut."),
          localized("Install the package of kglobalaccel and log in anew, or bind a key to the command 'jumplark "
                    "activate'.")};
}

}  // namespace jumplark::kwin
