#pragma once

#include "platform/Token.h"

namespace jumplark {

class AccessibilityNotifications;
class AccessibilityPlatform;
class AppViews;
class CrashReports;
class Defaults;
class DesktopServices;
class FileStore;
class GlobalShortcuts;
class Http;
class InputPlatform;
class InputSources;
class LoginItem;
class Menus;
class Queues;
class RandomSource;
class Screens;
class SystemFacts;
class Views;
class Workspace;

/// The interfaces through which the core reaches everything outside it. One set is installed at a time for the process.
/// Those from `defaults` on are null where only one command is carried out and no window is shown.
struct Platform {
  AccessibilityPlatform* accessibility = nullptr;
  Workspace* workspace = nullptr;
  Screens* screens = nullptr;
  InputPlatform* input = nullptr;
  Queues* queues = nullptr;
  RandomSource* random = nullptr;
  Defaults* defaults = nullptr;
  InputSources* inputSources = nullptr;
  GlobalShortcuts* shortcuts = nullptr;
  Views* views = nullptr;
  Http* http = nullptr;
  FileStore* files = nullptr;
  SystemFacts* facts = nullptr;
  AppViews* appViews = nullptr;
  DesktopServices* desktop = nullptr;
  LoginItem* loginItem = nullptr;
  CrashReports* crashReports = nullptr;
  AccessibilityNotifications* notifications = nullptr;
  Menus* menus = nullptr;  ///< null where nothing can be told of menus

  /// The installed set. Throws std::logic_error when none is.
  static const Platform& current();

  /// Installs a set until the token is destroyed, which brings back the one before. The caller keeps the interfaces
  /// alive that long, and installs and removes only while no other thread uses the core.
  static Token install(const Platform& platform);
};

}  // namespace jumplark
