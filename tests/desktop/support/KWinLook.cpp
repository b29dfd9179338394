// Looks at KWin from inside a session of it:
//
//   kwin-look windows                  its windows as JSON, the topmost last
//   kwin-look run SCRIPT               what a function body gives, as JSON; it has "w", the windows, and "find(id)"
//   kwin-look activate ID              the window with KWin's identifier
//   kwin-look free KEY                 exits with 0 when nobody has bound the key, by Qt's number, 3 when somebody has
//   kwin-look picture X Y W H FILE     writes that part of the screen as a PPM
#include <fcntl.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "desktop/support/KWinPicture.h"

namespace {

constexpr uint64_t kPatience = 10'000'000;  // microseconds
constexpr const char* kKWin = "org.kde.KWin";
constexpr const char* kScripting = "org.kde.kwin.Scripting";

void check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(result));
  }
}

using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

int onTell(sd_bus_message* message, void* answer, sd_bus_error* /*error*/) {
  const char* text = nullptr;
  check(sd_bus_message_read(message, "s", &text), "reading the answer");
  *static_cast<std::string*>(answer) = text;
  return sd_bus_reply_method_return(message, "");
}

/// What the expression gives, as JSON.
std::string evaluate(sd_bus* bus, const std::string& script) {
  constexpr const char* kPath = "/look";
  const std::string name = "kwin-look-" + std::to_string(getpid());
  const std::string file = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/" + name + ".js";
  const char* self = nullptr;
  check(sd_bus_get_unique_name(bus, &self), "the session bus");
  std::ofstream(file) << "var w = workspace.clientList ? workspace.clientList() : workspace.stackingOrder;\n"
                         "function find(id) { for (var i in w) { if (String(w[i].internalId) === id) return w[i]; } }\n"
                         "callDBus(\""
                      << self << "\", \"" << kPath << "\", \"look.Look\", \"Tell\", JSON.stringify((function () {"
                      << script << "})()) || \"null\");\n";
  std::string answer;
  check(sd_bus_add_object(bus, nullptr, kPath, onTell, &answer), "an object");
  sd_bus_message* reply = nullptr;
  check(sd_bus_call_method(bus, kKWin, "/Scripting", kScripting, "loadScript", nullptr, &reply, "ss", file.c_str(),
                           name.c_str()),
        "loading a script");
  const Message owned(reply, sd_bus_message_unref);
  int32_t number = -1;
  check(sd_bus_message_read(reply, "i", &number), "loading a script");
  const std::string paths[] = {"/Scripting/Script" + std::to_string(number), "/" + std::to_string(number)};
  if (sd_bus_call_method(bus, kKWin, paths[0].c_str(), "org.kde.kwin.Script", "run", nullptr, nullptr, "") < 0) {
    check(sd_bus_call_method(bus, kKWin, paths[1].c_str(), "org.kde.kwin.Script", "run", nullptr, nullptr, ""),
          "running a script");
  }
  while (answer.empty()) {
    const int done = sd_bus_process(bus, nullptr);
    check(done, "the session bus");
    if (done == 0 && sd_bus_wait(bus, kPatience) == 0) {
      throw std::runtime_error("the script says nothing");
    }
  }
  check(sd_bus_call_method(bus, kKWin, "/Scripting", kScripting, "unloadScript", nullptr, nullptr, "s", name.c_str()),
        "ending a script");
  unlink(file.c_str());
  return answer;
}

/// Of the X server on which KWin shows everything, where it takes no pictures itself.
void takePictureOf(const std::string& screen, char** place, const char* file) {
  const std::string part = std::string(place[2]) + "x" + place[3] + "+" + place[0] + "+" + place[1];
  execlp("import", "import", "-display", screen.c_str(), "-window", "root", "-crop", part.c_str(), "+repage", "-depth",
         "8", file, nullptr);
  throw std::runtime_error("import, of ImageMagick, is missing");
}

void takePicture(sd_bus* bus, char** place, const char* file) {
  int ends[2];
  check(pipe2(ends, O_CLOEXEC), "a pipe");
  sd_bus_message* results = nullptr;
  check(sd_bus_call_method(bus, kKWin, "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2", "CaptureArea", nullptr,
                           &results, "iiuua{sv}h", std::atoi(place[0]), std::atoi(place[1]), std::atoi(place[2]),
                           std::atoi(place[3]), 1, "native-resolution", "b", 1, ends[1]),
        "taking a picture");
  const Message owned(results, sd_bus_message_unref);
  close(ends[1]);
  const jumplark::desktop::KWinPicture picture = jumplark::desktop::readKWinPicture(results, ends[0]);
  std::ofstream out(file, std::ios::binary);
  out << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  for (const uint32_t colour : picture.colours) {
    out.put(static_cast<char>(colour >> 16U)).put(static_cast<char>(colour >> 8U)).put(static_cast<char>(colour));
  }
}

constexpr const char* kWindows = R"js(
  if (workspace.clientList) { w.sort(function (a, b) { return a.stackingOrder - b.stackingOrder; }); }
  return w.map(function (c) {
    var r = c.frameGeometry;
    return {id: String(c.internalId), title: String(c.caption), className: String(c.resourceClass), pid: c.pid,
            popup: !!c.popupWindow, active: c === (workspace.activeClient || workspace.activeWindow),
            rect: [Math.round(r.x), Math.round(r.y), Math.round(r.width), Math.round(r.height)]};
  });
)js";

}  // namespace

int main(int count, char** arguments) {
  try {
    const std::string command = count > 1 ? arguments[1] : "";
    sd_bus* bus = nullptr;
    check(sd_bus_open_user(&bus), "the session bus");
    const std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)> connection(bus, sd_bus_close_unref);
    check(sd_bus_set_method_call_timeout(bus, kPatience), "a limit");
    if (command == "windows") {
      std::cout << evaluate(bus, kWindows) << '\n';
    } else if (command == "run" && count == 3) {
      std::cout << evaluate(bus, arguments[2]) << '\n';
    } else if (command == "activate" && count == 3) {
      evaluate(bus, "var c = find(\"" + std::string(arguments[2]) +
                        "\"); if (workspace.clientList) workspace.activeClient = c; else workspace.activeWindow = c;");
    } else if (command == "free" && count == 3) {
      sd_bus_message* reply = nullptr;
      int isFree = 0;
      check(sd_bus_call_method(bus, "org.kde.kglobalaccel", "/kglobalaccel", "org.kde.KGlobalAccel",
                               "getGlobalShortcutsByKey", nullptr, &reply, "i", std::stoi(arguments[2])),
            "asking for shortcuts");
      const Message owned(reply, sd_bus_message_unref);
      check(sd_bus_message_enter_container(reply, 'a', "(ssssssaiai)"), "the shortcuts");
      isFree = sd_bus_message_at_end(reply, 0);
      return isFree != 0 ? 0 : 3;
    } else if (command == "picture" && count == 7) {
      if (const char* const screen = std::getenv("JUMPLARK_SESSION_SCREEN")) {
        takePictureOf(screen, arguments + 2, arguments[6]);
      }
      takePicture(bus, arguments + 2, arguments[6]);
    } else {
      return 2;
    }
  } catch (const std::exception& error) {
    std::cerr << "kwin-look: " << error.what() << '\n';
    return 1;
  }
}
