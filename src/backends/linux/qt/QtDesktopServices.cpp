#include "backends/linux/qt/QtDesktopServices.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>
#include <utility>

#include "backends/linux/qt/ProgramStart.h"

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
  if (program.isEmpty()) {
    return false;
  }
  startProgram(program, settings.arguments, {});
  return true;
}

struct Opener {
  const char* program;
  QStringList arguments;  ///< before the address
};

/// What hands an address to the program that the user has chosen for its kind, then what shows pages itself.
const std::vector<Opener>& openers() {
  static const std::vector<Opener> programs = {
      {"xdg-open", {}}, {"gio", {QStringLiteral("open")}}, {"x-www-browser", {}}, {"firefox", {}}, {"chromium", {}}};
  return programs;
}

/// Tries them from the one of that number on, each after the failure of the one before.
void openWith(size_t number, const QString& address, std::function<void(bool opened)> done) {
  if (number >= openers().size()) {
    done(false);
    return;
  }
  const Opener& opener = openers()[number];
  const QString program = QStandardPaths::findExecutable(QString::fromUtf8(opener.program));
  auto next = [number, address, done = std::move(done)](bool opened) mutable {
    opened ? done(true) : openWith(number + 1, address, std::move(done));
  };
  if (program.isEmpty()) {
    next(false);
  } else {
    startProgram(program, opener.arguments + QStringList(address), std::move(next));
  }
}

}  // namespace

void QtDesktopServices::openURL(const std::string& url, std::function<void(bool opened)> done) {
  const QUrl address(QString::fromStdString(url), QUrl::StrictMode);
  const QStringList known = {QStringLiteral("https"), QStringLiteral("http"), QStringLiteral("mailto")};
  if (url.starts_with('/')) {
    openWith(0, QString::fromStdString(url), std::move(done));
  } else if (address.isValid() && known.contains(address.scheme())) {
    openWith(0, address.toString(QUrl::FullyEncoded), std::move(done));
  } else {
    done(false);
  }
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

void QtDesktopServices::notify(const std::string& text) {
  constexpr int kShownMs = 4000;
  const QString service = QStringLiteral("org.freedesktop.Notifications");
  QDBusMessage call = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"), service,
                                                     QStringLiteral("Notify"));
  const uint replaced = 0;
  const QVariantMap hints{{QStringLiteral("transient"), true},
                          {QStringLiteral("desktop-entry"), QStringLiteral("jumplark")},
                          {QStringLiteral("x-canonical-private-synchronous"), QStringLiteral("jumplark")}};
  call.setArguments({QStringLiteral("Jumplark"), replaced, QStringLiteral("jumplark"), QString::fromStdString(text),
                     QString(), QStringList(), hints, kShownMs});
  QDBusConnection::sessionBus().send(call);
}

std::string QtDesktopServices::installedDocumentation() {
  const QDir folder(QCoreApplication::applicationDirPath());
  for (const char* place : {"../share/jumplark/guide/index.html", "guide/index.html"}) {
    const QFileInfo file(folder.filePath(QString::fromUtf8(place)));
    if (file.isFile() && file.isReadable()) {
      return file.canonicalFilePath().toStdString();
    }
  }
  return {};
}

}  // namespace jumplark
