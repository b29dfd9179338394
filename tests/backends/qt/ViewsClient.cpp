// The program's windows without the rest of the program: views-client FIFO carries out the commands that it reads from
// the FIFO, one a line, and prints "done N" after the Nth has reached the X server. Between them it prints what the
// windows report: "text T", "key CODE FLAGS IGNORING", "equivalent CODE", "windowkey CODE", "resign", "keyboard",
// "chosen N". Places have a top-left origin.
//   place X Y | show | hide | text T | notice T | monitor 0|1 | unfocus | pressed X Y | frame
//   boxes [X,Y,W,H,RRGGBB,LABEL]... | overlay 0|1 | anchor X Y W H RRGGBB | bubble T | nothing |
//   alert TITLE|TEXT|BUTTON... | quiet-alert TITLE|TEXT|BUTTON... | quit
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/linux/x11/X11WindowSystem.h"
#include "platform/Input.h"

using namespace jumplark;

namespace {

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

class Reporter : public QueryWindowViewDelegate {
 public:
  void textDidChange(const std::string& text) override { say("text " + text); }
  bool monitoredKeyDown(const KeyEvent& event) override {
    std::ostringstream line;
    line << "key " << event.keyCode << ' ' << event.flags << ' ' << event.charactersIgnoringModifiers;
    say(line.str());
    return (event.flags & modifier_flag::deviceIndependentMask) == modifier_flag::control;
  }
  bool performKeyEquivalent(const KeyEvent& event) override {
    say("equivalent " + std::to_string(event.keyCode));
    return false;
  }
  void keyDown(const KeyEvent& event) override { say("windowkey " + std::to_string(event.keyCode)); }
  void keyUp(const KeyEvent& /*event*/) override {}
  void didResignKey() override { say("resign"); }
};

Color colorOf(const std::string& hex) {
  const auto part = [&](size_t at) { return std::stoi(hex.substr(at, 2), nullptr, 16) / 255.0; };
  return {part(0), part(2), part(4), 0.6};
}

class Client {
 public:
  explicit Client(SystemQueues& queues) : loop_(queues), x_(X11Connection::open().connection), windows_(x_) {
    screens_ = std::make_unique<X11Screens>(x_, queues.mainQueue());
    WindowCallbacks callbacks{
        [this](uint32_t window) { windows_.requestActive(window, true); }, [] { say("keyboard"); }, {}};
    views_ = std::make_unique<QtViews>(QtViews::World{x_, *screens_, queues.mainQueue(), std::move(callbacks)});
    query_ = views_->makeQueryWindow();
    query_->setDelegate(&reporter_);
    query_->setLevel(window_level::dock + 1);
    overlay_ = views_->makeOverlay();
    discovery_ = views_->makeDiscovery();
    fillCommands();
  }

  int run() { return loop_.run(); }

  void execute(const std::string& line) {
    const size_t space = line.find(' ');
    commands_.at(line.substr(0, space))(space == std::string::npos ? "" : line.substr(space + 1));
    say("done " + std::to_string(++count_));
  }

 private:
  Rect core(double x, double y, double width, double height) {
    return {x, screens_->primaryFrame().maxY() - y - height, width, height};
  }

  void fillCommands() {
    commands_["place"] = [this](const std::string& arguments) {
      std::istringstream in(arguments);
      double x = 0;
      double y = 0;
      in >> x >> y;
      query_->setFrameTopLeft({x, screens_->primaryFrame().maxY() - y});
    };
    commands_["show"] = [this](const std::string&) {
      query_->makeKeyAndOrderFront();
      query_->makeFieldFirstResponder();
    };
    commands_["hide"] = [this](const std::string&) { query_->orderOut(); };
    commands_["text"] = [this](const std::string& text) { query_->setText(text); };
    commands_["notice"] = [this](const std::string& text) { query_->setNotice(text); };
    commands_["monitor"] = [this](const std::string& on) { query_->setKeyMonitorInstalled(on == "1"); };
    commands_["unfocus"] = [this](const std::string&) { query_->resignFieldFirstResponder(); };
    commands_["pressed"] = [this](const std::string& arguments) {
      std::istringstream in(arguments);
      Point point;
      in >> point.x >> point.y;
      views_->pointerPressedOutside(point);
    };
    commands_["frame"] = [this](const std::string&) {
      const Rect frame = query_->frame();
      std::ostringstream line;
      line << "frame " << frame.x << ' ' << screens_->primaryFrame().maxY() - frame.maxY() << ' ' << frame.width << ' '
           << frame.height;
      say(line.str());
    };
    fillDrawingCommands();
  }

  void fillDrawingCommands() {
    commands_["boxes"] = [this](const std::string& arguments) {
      std::istringstream in(arguments);
      std::vector<BoxLayer> layers;
      for (std::string word; in >> word;) {
        double rect[4] = {};
        char hex[7] = {};
        char label[64] = {};
        std::sscanf(word.c_str(), "%lf,%lf,%lf,%lf,%6[^,],%63s", &rect[0], &rect[1], &rect[2], &rect[3], hex, label);
        BoxLayer layer;
        layer.frame = core(rect[0], rect[1], rect[2], rect[3]);
        layer.background = colorOf(hex);
        layer.label.text = label;
        layers.push_back(layer);
      }
      overlay_->setLayers(layers);
    };
    commands_["overlay"] = [this](const std::string& on) { on == "1" ? overlay_->orderFront() : overlay_->orderOut(); };
    commands_["anchor"] = [this](const std::string& arguments) {
      std::istringstream in(arguments);
      double rect[4] = {};
      std::string hex;
      in >> rect[0] >> rect[1] >> rect[2] >> rect[3] >> hex;
      Color color = colorOf(hex);
      color.alpha = 0.3;
      discovery_->setAnchorFrame(core(rect[0], rect[1], rect[2], rect[3]));
      discovery_->setAnchorColor(color);
      discovery_->orderFrontRegardless();
    };
    commands_["bubble"] = [this](const std::string& text) { discovery_->showPopover(text); };
    commands_["nothing"] = [this](const std::string&) {
      discovery_->closePopover();
      discovery_->orderOut();
    };
    const auto showAlert = [this](const std::string& arguments, bool takesKeyboard) {
      std::istringstream in(arguments);
      Alert alert;
      alert.takesKeyboard = takesKeyboard;
      std::getline(in, alert.title, '|');
      std::getline(in, alert.text, '|');
      for (std::string button; std::getline(in, button, '|');) {
        alert.buttons.push_back(button);
      }
      views_->showAlert(alert, [](int button) { say("chosen " + std::to_string(button)); });
    };
    commands_["alert"] = [showAlert](const std::string& arguments) { showAlert(arguments, true); };
    commands_["quiet-alert"] = [showAlert](const std::string& arguments) { showAlert(arguments, false); };
    commands_["quit"] = [this](const std::string&) { loop_.quit(); };
  }

  QtMainLoop loop_;
  std::shared_ptr<X11Connection> x_;
  X11WindowSystem windows_;
  std::unique_ptr<X11Screens> screens_;
  std::unique_ptr<QtViews> views_;
  Reporter reporter_;
  std::unique_ptr<QueryWindowView> query_;
  std::unique_ptr<OverlayView> overlay_;
  std::unique_ptr<DiscoveryView> discovery_;
  std::map<std::string, std::function<void(const std::string&)>> commands_;
  int count_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  SystemQueues queues;
  Client client(queues);
  // Ends with the process: the FIFO is never closed.
  std::thread([&queues, &client, path = std::string(argv[1])] {
    std::fstream commands(path, std::ios::in | std::ios::out);
    for (std::string line; std::getline(commands, line);) {
      queues.mainQueue().post([&client, line] { client.execute(line); });
    }
  }).detach();
  say("ready");
  return client.run();
}
