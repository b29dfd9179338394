#include <fake-input-client-protocol.h>
#include <fcntl.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <QImage>
#include <cstdlib>
#include <list>
#include <stdexcept>

#include "Seat.h"
#include "desktop/support/KWinPicture.h"

namespace jumplark::bench {
namespace {

struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;
struct ForgetMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, ForgetMessage>;

void check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(result));
  }
}

Bus busAt(const std::string& address) {
  sd_bus* bus = nullptr;
  check(sd_bus_new(&bus), "a bus");
  Bus owned(bus);
  check(sd_bus_set_address(bus, address.c_str()), "the bus's address");
  check(sd_bus_set_bus_client(bus, 1), "the bus");
  check(sd_bus_start(bus), "the session bus");
  check(sd_bus_set_method_call_timeout(bus, std::chrono::microseconds(kPatience).count()), "a limit");
  return owned;
}

template <typename... Arguments>
Message call(const Bus& bus, const char* name, const char* path, const char* interface, const char* member,
             const char* types, Arguments... arguments) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* answer = nullptr;
  const int result = sd_bus_call_method(bus.get(), name, path, interface, member, &error, &answer, types, arguments...);
  const std::string said = error.message != nullptr ? error.message : std::to_string(result);
  sd_bus_error_free(&error);
  if (result < 0) {
    throw std::runtime_error(std::string(member) + ": " + said);
  }
  return Message(answer);
}

/// Fake input, and pictures over the bus.
class KWinSeat final : public Seat {
 public:
  KWinSeat(Connection& connection, const std::string& bus)
      : connection_(connection),
        bus_(busAt(bus)),
        input_(connection.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, 4)) {
    if (input_ == nullptr) {
      throw std::runtime_error("KWin lets nobody press keys");
    }
    org_kde_kwin_fake_input_authenticate(input_, "bench", "presses what a user would");
    connection.roundtrip();
  }

  void send(const std::vector<Stroke>& strokes) override {
    for (const Stroke stroke : strokes) {
      org_kde_kwin_fake_input_keyboard_key(input_, static_cast<uint32_t>(std::abs(stroke)), stroke > 0 ? 1 : 0);
    }
    connection_.flush();
  }

  std::vector<Colours> pixels(const std::vector<Area>& areas) override {
    // All are asked for at once, so that they are of one frame.
    std::list<Capture> captures;
    for (const Area& area : areas) {
      Capture& capture = captures.emplace_back();
      int ends[2];
      check(pipe2(ends, O_CLOEXEC), "a pipe");
      capture.pixels = ends[0];
      const auto told = [](sd_bus_message* answer, void* data, sd_bus_error*) {
        static_cast<Capture*>(data)->description.reset(sd_bus_message_ref(answer));
        return 0;
      };
      const int asked = sd_bus_call_method_async(bus_.get(), nullptr, "org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                                 "org.kde.KWin.ScreenShot2", "CaptureArea", told, &capture,
                                                 "iiuua{sv}h", area.x, area.y, area.width, area.height, 0, ends[1]);
      close(ends[1]);
      check(asked, "asking for a picture");
    }
    std::vector<Colours> result;
    for (Capture& capture : captures) {
      while (!capture.description) {
        const int done = sd_bus_process(bus_.get(), nullptr);
        check(done, "the session bus");
        if (done == 0) {
          check(sd_bus_wait(bus_.get(), UINT64_MAX), "the session bus");
        }
      }
      result.push_back(coloursOf(capture));
    }
    return result;
  }

 private:
  /// One picture that is being taken.
  struct Capture {
    Capture() = default;
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture() { close(pixels); }

    int pixels = -1;
    Message description;
  };

  static Colours coloursOf(const Capture& capture) {
    if (sd_bus_message_is_method_error(capture.description.get(), nullptr) > 0) {
      throw std::runtime_error("KWin gives no picture");
    }
    return desktop::readKWinPicture(capture.description.get(), capture.pixels).colours;
  }

  Connection& connection_;
  Bus bus_;
  org_kde_kwin_fake_input* input_;
};

/// What the tests' own extension of the shell presses, and pictures in files.
class GnomeSeat final : public Seat {
 public:
  GnomeSeat(const std::string& bus, const std::string& folder) : bus_(busAt(bus)), picture_(folder + "/bench.png") {}

  void send(const std::vector<Stroke>& strokes) override {
    std::string code = "global.seat.keys([";
    for (const Stroke stroke : strokes) {
      code += std::to_string(stroke) + ',';
    }
    call(bus_, "org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell", "Eval", "s", (code + "])").c_str());
  }

  std::vector<Colours> pixels(const std::vector<Area>& areas) override {
    std::vector<Colours> result;
    for (const Area& area : areas) {
      call(bus_, "org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot", "org.gnome.Shell.Screenshot",
           "ScreenshotArea", "iiiibs", area.x, area.y, area.width, area.height, 0, picture_.c_str());
      const QImage image(QString::fromStdString(picture_));
      auto& colours = result.emplace_back();
      for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
          colours.push_back(image.pixel(x, y) & 0xFFFFFFU);
        }
      }
      if (image.width() != area.width || image.height() != area.height) {
        throw std::runtime_error("the shell gives no picture of a pixel a point");
      }
    }
    return result;
  }

 private:
  Bus bus_;
  std::string picture_;
};

}  // namespace

std::unique_ptr<Seat> kwinSeat(Connection& connection, const std::string& bus) {
  return std::make_unique<KWinSeat>(connection, bus);
}

std::unique_ptr<Seat> gnomeSeat(const std::string& bus, const std::string& folder) {
  return std::make_unique<GnomeSeat>(bus, folder);
}

}  // namespace jumplark::bench
