#include "backends/linux/wayland/gnome/ShellExtension.h"

#include <chrono>
#include <memory>
#include <string_view>
#include <thread>

#include "backends/linux/wayland/gnome/ShellBus.h"
#include "platform/Texts.h"

namespace jumplark::gnome {
namespace {

constexpr const char* kIdentifier = "jumplark@brindlefox.com";
constexpr uint64_t kPatience = std::chrono::microseconds(kFirstPatience).count();
// The shell's numbers for what has become of an extension.
constexpr int kOn = 1;
constexpr int kOff = 2;
constexpr int kOutOfDate = 4;
constexpr int kLoaded = 6;

struct MessageDeleter {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using MessagePointer = std::unique_ptr<sd_bus_message, MessageDeleter>;

struct Asked {
  const char* name;
  const char* path;
  const char* interface;
};
constexpr Asked kExtensions{"org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Extensions"};
/// There where the session can be locked.
constexpr Asked kShield{"org.gnome.Shell.ScreenShield", "/org/gnome/ScreenSaver", "org.gnome.ScreenSaver"};

/// Asks the shell, about our extension or with no argument; null when it does not answer, with why.
MessagePointer askShell(sd_bus* bus, const Asked& asked, const char* method, const char* argument, Answer& answer) {
  sd_bus_message* question = nullptr;
  sd_bus_message* reply = nullptr;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  int r = sd_bus_message_new_method_call(bus, &question, asked.name, asked.path, asked.interface, method);
  if (r >= 0) {
    sd_bus_message_set_auto_start(question, 0);
    if (argument != nullptr) {
      sd_bus_message_append(question, "s", argument);
    }
    r = sd_bus_call(bus, question, kPatience, &error, &reply);
  }
  const bool isAbsent = sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
                        sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
  answer = r >= 0 ? Answer::given : isAbsent ? Answer::absent : Answer::silent;
  sd_bus_error_free(&error);
  sd_bus_message_unref(question);
  return MessagePointer(reply);
}

/// The number under "state" in what the shell tells of the extension; 0 when it tells nothing.
int toldState(sd_bus_message* reply) {
  int state = 0;
  if (sd_bus_message_enter_container(reply, 'a', "{sv}") < 0) {
    return 0;
  }
  while (sd_bus_message_enter_container(reply, 'e', "sv") > 0) {
    const char* key = nullptr;
    double number = 0;
    if (sd_bus_message_read(reply, "s", &key) <= 0 || std::string_view(key) != "state" ||
        sd_bus_message_read(reply, "v", "d", &number) <= 0) {
      sd_bus_message_skip(reply, "v");
    } else {
      state = static_cast<int>(number);
    }
    sd_bus_message_exit_container(reply);
  }
  return state;
}

bool isLocked(sd_bus* bus) {
  Answer answer = Answer::absent;
  int locked = 0;
  const MessagePointer reply = askShell(bus, kShield, "GetActive", nullptr, answer);
  return reply && sd_bus_message_read(reply.get(), "b", &locked) > 0 && locked != 0;
}

ExtensionState stateByShell(sd_bus* bus) {
  Answer answer = Answer::absent;
  const MessagePointer reply = askShell(bus, kExtensions, "GetExtensionInfo", kIdentifier, answer);
  if (!reply) {
    return answer == Answer::absent ? ExtensionState::noShell : ExtensionState::silent;
  }
  switch (toldState(reply.get())) {
    case 0:
      return ExtensionState::unknown;
    case kOff:
    case kLoaded:
    case kOn:  // and about to answer
      return isLocked(bus) ? ExtensionState::locked : ExtensionState::off;
    case kOutOfDate:
      return ExtensionState::foreignShell;
    default:
      return ExtensionState::foreignVersion;
  }
}

}  // namespace

ExtensionState extensionState() {
  const SessionBusConnection bus = connectToBus();
  if (!bus) {
    return ExtensionState::noShell;
  }
  uint32_t version = 0;
  const char* shell = nullptr;
  const Read greeting = [&](sd_bus_message* reply) {
    // What greets in another way is of another version.
    version = sd_bus_message_read(reply, "us", &version, &shell) > 0 ? version : 0;
    return 1;
  };
  switch (ask(bus.get(), "Hello", {}, greeting, kFirstPatience)) {
    case Answer::given:
      return version == kVersion ? ExtensionState::works : ExtensionState::foreignVersion;
    case Answer::refused:
      return ExtensionState::foreignProgram;
    case Answer::silent:
      return ExtensionState::silent;
    case Answer::absent:
      break;
  }
  return stateByShell(bus.get());
}

ExtensionProblem problemOf(ExtensionState state) {
  const std::string needed = localized(
      "GNOME Shell tells only its extensions which window is in front and where it is, and that of Jumplark is "
      "not switched on.");
  switch (state) {
    case ExtensionState::noShell:
    case ExtensionState::works:
      break;
    case ExtensionState::off:
      return {needed, localized("Switch it on: gnome-extensions enable jumplark@brindlefox.com")};
    case ExtensionState::locked:
      return {localized("The screen is locked."), localized("Unlock it.")};
    case ExtensionState::unknown:
      return {needed, localized("Log out and in again, since GNOME Shell looks for new extensions only then; Jumplark "
                                "then offers to switch it on.")};
    case ExtensionState::foreignVersion:
      return {localized("The extension of Jumplark that GNOME Shell runs is of another version than this program."),
              localized("Log out and in again; if that does not help, install Jumplark anew.")};
    case ExtensionState::foreignShell:
      return {
          localized("The extension of Jumplark is not made for this version of GNOME Shell, which does not run it."),
          localized("Install a newer version of Jumplark.")};
    case ExtensionState::foreignProgram:
      return {
          localized("The extension of Jumplark that GNOME Shell runs does not answer this program, which is not the "
                    "one that it was installed with."),
          localized("Start the program that is installed. If Jumplark was updated just now, start it anew.")};
    case ExtensionState::silent:
      return {localized("GNOME Shell does not answer."), localized("Wait until it does, or log in again.")};
  }
  return {};
}

ExtensionState switchExtensionOn() {
  const SessionBusConnection bus = connectToBus();
  Answer answer = Answer::absent;
  if (!bus || !askShell(bus.get(), kExtensions, "EnableExtension", kIdentifier, answer)) {
    return answer == Answer::silent ? ExtensionState::silent : ExtensionState::noShell;
  }
  constexpr std::chrono::seconds kMost{3};
  constexpr std::chrono::milliseconds kStep{50};
  const auto deadline = std::chrono::steady_clock::now() + kMost;
  ExtensionState state = extensionState();
  while (state == ExtensionState::off && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
    state = extensionState();
  }
  return state;
}

}  // namespace jumplark::gnome
