#include "backends/linux/qt/QtDesktopServices.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace jumplark {
namespace {

struct SettingsProgram {
  const char* desktop;  ///< as in XDG_CURRENT_DESKTOP
  const char* program;
  QStringList arguments;
};

const std::vector<SettingsProgram>& settingsPrograms() {
  static const std::vector<SettingsProgram> programs = {
      {"XFCE", "xfce4-accessibility-settings", {}},
      {"GNOME", "gnome-control-center", {QStringLiteral("universal-access")}},
      {"KDE", "systemsettings", {QStringLiteral("kcm_access")}},
      {"KDE", "systemsettings5", {QStringLiteral("kcm_access")}},
      {"MATE", "mate-at-properties", {}},
      {"X-Cinnamon", "cinnamon-settings", {QStringLiteral("universal-access")}}};
  return programs;
}

bool start(const SettingsProgram& settings) {
  const QString program = QStandardPaths::findExecutable(QString::fromUtf8(settings.program));
  return !program.isEmpty() && QProcess::startDetached(program, settings.arguments);
}

}  // namespace

bool QtDesktopServices::openURL(const std::string& url) {
  const QUrl address(QString::fromStdString(url), QUrl::StrictMode);
  const QStringList known = {QStringLiteral("https"), QStringLiteral("http"), QStringLiteral("mailto"),
                             QStringLiteral("file")};
  return address.isValid() && known.contains(address.scheme()) && QDesktopServices::openUrl(address);
}

bool QtDesktopServices::openAccessibilitySettings() {
  const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
  for (const bool own : {true, false}) {
    for (const SettingsProgram& settings : settingsPrograms()) {
      if (desktops.contains(QString::fromUtf8(settings.desktop)) == own && start(settings)) {
        return true;
      }
    }
  }
  return false;
}

std::string QtDesktopServices::installedDocumentation() {
  const QDir folder(QCoreApplication::applicationDirPath());
  for (const char* place : {"../share/doc/jumplark/README.md", "../../README.md"}) {
    const QFileInfo file(folder.filePath(QString::fromUtf8(place)));
    if (file.isFile() && file.isReadable()) {
      return QUrl::fromLocalFile(file.canonicalFilePath()).toString(QUrl::FullyEncoded).toStdString();
    }
  }
  return {};
}

}  // namespace jumplark
