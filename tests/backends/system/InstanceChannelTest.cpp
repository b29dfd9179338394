#include "backends/linux/system/InstanceChannel.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <thread>

#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;
using Kind = InstanceCommand::Kind;
using SendState = InstanceChannel::SendState;
using ServeState = InstanceChannel::ServeState;
using ::testing::HasSubstr;

class InstanceChannelTest : public SystemFixture {
 protected:
  std::filesystem::path runtime() const { return folder_ / "runtime"; }
  InstancePlace place(const std::string& display = ":0") const { return InstancePlace::inFolder(runtime(), display); }
  InstanceChannel channel(const std::string& display = ":0") const { return InstanceChannel(place(display)); }

  InstanceChannel::Serving serve(const std::string& display = ":0") {
    return channel(display).serve(queues_, [this](const InstanceCommand& command) {
      EXPECT_TRUE(queues_.mainQueue().isCurrent());
      commands_.push_back(command);
      return command.pane == "Nowhere" ? "there is no such pane\nindeed" : "";
    });
  }
  /// Sends on a thread of its own, while the main queue runs here.
  InstanceChannel::Reply send(const InstanceCommand& command, const std::string& display = ":0") {
    InstanceChannel::Reply reply;
    std::atomic<bool> over{false};
    std::thread sender([&] {
      reply = channel(display).send(command);
      over = true;
    });
    EXPECT_TRUE(await([&] { return over.load(); }));
    sender.join();
    return reply;
  }

  /// A client that does as it likes.
  FileDescriptor connect() const {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, place().socket.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return socket;
  }
  static void write(const FileDescriptor& socket, const std::string& text) {
    EXPECT_EQ(::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  /// Everything until the other side closes.
  std::string readAll(const FileDescriptor& socket) {
    std::string text;
    EXPECT_TRUE(await([&] {
      char buffer[512];
      const ssize_t count = ::recv(socket.get(), buffer, sizeof buffer, MSG_DONTWAIT);
      text.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
      return count == 0 || (count < 0 && errno == ECONNRESET);
    }));
    return text;
  }

  std::vector<InstanceCommand> commands_;
};

TEST_F(InstanceChannelTest, carriesCommandsToTheInstanceOfTheirDisplayAndItsAnswersBack) {
  const std::vector<InstanceCommand> sent = {
      {Kind::activate, ""}, {Kind::preferences, ""}, {Kind::preferences, "General pane"}};
  std::vector<InstanceChannel::Serving> all;
  for (const std::string& display : {std::string(":0"), std::string(":1"), std::string("host/x:0"),
                                     std::string("host_x:0"), std::string(), std::string(300, '/') + ":0"}) {
    SCOPED_TRACE(display.substr(0, 20));
    EXPECT_EQ(send({}, display).state, SendState::notRunning);
    all.push_back(serve(display));
    ASSERT_EQ(all.back().state, ServeState::serving) << all.back().problem;
    commands_.clear();
    for (const InstanceCommand& command : sent) {
      EXPECT_EQ(send(command, display).state, SendState::done);
    }
    EXPECT_EQ(commands_, sent);
  }
  EXPECT_EQ(serve(":0.1").state, ServeState::alreadyRunning) << "a screen of the same display";
  const auto refused = send({Kind::preferences, "Nowhere"});
  EXPECT_EQ(refused.state, SendState::failed);
  EXPECT_EQ(refused.problem, "there is no such pane indeed");
  all.clear();
  EXPECT_EQ(send({}).state, SendState::notRunning);
  EXPECT_EQ(serve().state, ServeState::serving);
}

TEST_F(InstanceChannelTest, refusesWhatIsNoCommand) {
  const std::string unknown = "error the running Jumplark does not know this command\n";
  const auto serving = serve();
  const struct {
    std::string sent;
    std::string answer;
  } cases[] = {
      {"dance\n", unknown},
      {"\n", unknown},
      {"activate now\n", unknown},
      {"preferencesGeneral\n", unknown},
      {"preferences \x1b[2J\n", unknown},
      {"preferences " + std::string(244, 'x') + "\n", "ok\n"},
      {"preferences " + std::string(245, 'x') + "\n", unknown},
      {std::string(100'000, 'x'), unknown},
      {"activate\nactivate\n", "ok\n"},
  };
  for (const auto& example : cases) {
    const FileDescriptor client = connect();
    // It may be refused before all of it is taken.
    static_cast<void>(!::send(client.get(), example.sent.data(), example.sent.size(), MSG_NOSIGNAL));
    EXPECT_EQ(readAll(client), example.answer) << example.sent.substr(0, 40);
  }
  EXPECT_EQ(commands_.size(), 2U);
}

TEST_F(InstanceChannelTest, clientsThatSendNothingOrHalfALineHoldUpNobody) {
  const auto serving = serve();
  std::vector<FileDescriptor> idle;
  for (int number = 0; number < 40; ++number) {
    idle.push_back(connect());
    write(idle.back(), number % 2 == 0 ? "" : "activ");
  }
  EXPECT_EQ(send({}).state, SendState::done);
  EXPECT_EQ(readAll(idle.front()), "") << "the oldest had to make room";
  write(idle.back(), "ate\n");
  EXPECT_EQ(readAll(idle.back()), "ok\n") << "the rest of the line came late";
  idle.clear();
  EXPECT_EQ(send({}).state, SendState::done);
}

TEST_F(InstanceChannelTest, aHandlerMayEndTheInstanceAndNoneIsCalledAfterItsEnd) {
  InstanceChannel::Serving serving;
  serving = channel().serve(queues_, [&](const InstanceCommand&) {
    serving.token.reset();
    return std::string();
  });
  EXPECT_EQ(send({}).state, SendState::failed) << "it ended instead of answering";
  serving = serve();
  const FileDescriptor client = connect();
  write(client, "activate\n");
  const FileDescriptor later = connect();
  write(later, "dance\n");
  char answered = 0;
  EXPECT_EQ(::recv(later.get(), &answered, 1, 0), 1) << "so the first line waits for the main queue";
  serving.token.reset();
  queues_.drainMainQueue();
  EXPECT_TRUE(commands_.empty());
}

TEST_F(InstanceChannelTest, aStoppedInstanceIsToldOfAndOfManyThatFollowAKilledOneExactlyOneServes) {
  const auto start = [this] { return help({"serve", runtime().string(), ":0"}); };
  const auto first = start();
  ASSERT_TRUE(first->waitForLine("serving")) << first->out();
  EXPECT_EQ(send({}).state, SendState::done);
  EXPECT_TRUE(first->waitForLine("activate"));
  EXPECT_TRUE(start()->waitForLine("already running"));
  first->stop();
  const auto stopped = channel().send({}, 50ms);
  EXPECT_EQ(stopped.state, SendState::failed);
  EXPECT_THAT(stopped.problem, HasSubstr("does not answer"));
  first->kill(SIGKILL);
  EXPECT_TRUE(std::filesystem::exists(place().socket)) << "left behind";
  EXPECT_EQ(send({}).state, SendState::notRunning);
  std::vector<std::unique_ptr<desktop::Process>> all(8);
  std::ranges::generate(all, start);
  int servers = 0;
  for (const auto& one : all) {
    EXPECT_TRUE(desktop::waitUntil([&] { return one->printed("serving") || one->printed("already running"); }));
    servers += one->printed("serving") ? 1 : 0;
  }
  EXPECT_EQ(servers, 1);
  EXPECT_EQ(send({}).state, SendState::done);
}

TEST_F(InstanceChannelTest, livesOnlyInAFolderOfTheUsersOwn) {
  namespace fs = std::filesystem;
  const fs::path own = folder_ / "tmp" / ("jumplark-" + std::to_string(::getuid()));
  fs::create_directories(own.parent_path());
  fs::create_directory(runtime());
  const auto placeIn = [&](const fs::path& runtimeFolder) {
    ::setenv("XDG_RUNTIME_DIR", runtimeFolder.c_str(), 1);
    ::setenv("TMPDIR", own.parent_path().c_str(), 1);
    ::setenv("DISPLAY", ":7", 1);
    return InstancePlace::fromEnvironment();
  };
  fs::permissions(runtime(), fs::perms::owner_all);
  EXPECT_EQ(placeIn(runtime()).socket.parent_path(), runtime() / "jumplark");
  EXPECT_EQ(placeIn("relative").socket.parent_path(), own);
  fs::permissions(runtime(), fs::perms(0755));
  EXPECT_EQ(placeIn(runtime()).socket.parent_path(), own) << "others can reach the runtime folder";
  EXPECT_EQ(modeOf(own), 0700U);
  fs::remove(own);
  fs::create_directory_symlink(folder_, own);
  EXPECT_THAT(placeIn("").problem, HasSubstr("it is not a folder"));
  fs::remove(own);
  fs::create_directory(own);
  fs::permissions(own, fs::perms(0777));
  const InstancePlace open = placeIn("");
  EXPECT_THAT(open.problem, HasSubstr("other users can reach it"));
  EXPECT_EQ(InstanceChannel(open).send({}).state, SendState::failed);
  EXPECT_EQ(InstanceChannel(open).serve(queues_, nullptr).problem, open.problem);
  for (const char* name : {"XDG_RUNTIME_DIR", "TMPDIR", "DISPLAY"}) {
    ::unsetenv(name);
  }
}

}  // namespace
}  // namespace jumplark
