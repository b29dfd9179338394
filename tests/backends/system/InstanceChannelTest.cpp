#include "backends/linux/system/InstanceChannel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

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

TEST_F(InstanceChannelTest, CarriesCommandsToTheMainQueueAndItsAnswersBack) {
  EXPECT_EQ(send({}).state, SendState::notRunning);
  auto serving = serve();
  ASSERT_EQ(serving.state, ServeState::serving) << serving.problem;
  const std::vector<InstanceCommand> sent = {
      {Kind::activate, ""}, {Kind::preferences, ""}, {Kind::preferences, "General pane"}};
  for (const InstanceCommand& command : sent) {
    EXPECT_EQ(send(command).state, SendState::done);
  }
  EXPECT_EQ(commands_, sent);
  const auto refused = send({Kind::preferences, "Nowhere"});
  EXPECT_EQ(refused.state, SendState::failed);
  EXPECT_EQ(refused.problem, "there is no such pane indeed");
  EXPECT_EQ(serve().state, ServeState::alreadyRunning);
  serving.token.reset();
  EXPECT_EQ(send({}).state, SendState::notRunning);
  EXPECT_EQ(serve().state, ServeState::serving);
}

TEST_F(InstanceChannelTest, EachDisplayHasItsOwnInstance) {
  const auto first = serve(":0");
  EXPECT_EQ(serve(":0.1").state, ServeState::alreadyRunning) << "a screen of the same display";
  for (const char* display : {":1", "host/x:0", "host_x:0", "host:0", ""}) {
    EXPECT_EQ(send({}, display).state, SendState::notRunning) << display;
    const auto other = serve(display);
    EXPECT_EQ(other.state, ServeState::serving) << display << other.problem;
    EXPECT_EQ(send({}, display).state, SendState::done) << display;
  }
  EXPECT_EQ(serve(std::string(300, '/') + ":0").state, ServeState::serving);
}

TEST_F(InstanceChannelTest, RefusesWhatIsNoCommand) {
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

TEST_F(InstanceChannelTest, ClientsThatSendNothingOrHalfALineHoldUpNobody) {
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

TEST_F(InstanceChannelTest, AHandlerMayEndTheInstanceAndNoneIsCalledAfterItsEnd) {
  InstanceChannel::Serving serving;
  int calls = 0;
  serving = channel().serve(queues_, [&](const InstanceCommand&) {
    ++calls;
    serving.token.reset();
    return std::string();
  });
  const auto reply = send({});
  EXPECT_EQ(reply.state, SendState::failed) << "it ended instead of answering";
  serving = serve();
  const FileDescriptor client = connect();
  write(client, "activate\n");
  const FileDescriptor later = connect();
  write(later, "dance\n");
  char answered = 0;
  EXPECT_EQ(::recv(later.get(), &answered, 1, 0), 1) << "so the first line waits for the main queue";
  serving.token.reset();
  queues_.drainMainQueue();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(commands_.empty());
}

TEST_F(InstanceChannelTest, AKilledInstanceIsReplacedAndAStoppedOneIsToldOf) {
  std::unique_ptr<desktop::Process> first = help({"serve", runtime().string(), ":0"});
  ASSERT_TRUE(first->waitForLine("serving")) << first->out();
  EXPECT_EQ(send({}).state, SendState::done);
  EXPECT_TRUE(first->waitForLine("activate"));
  const auto second = help({"serve", runtime().string(), ":0"});
  EXPECT_TRUE(second->waitForLine("already running"));
  first->stop();
  const auto stopped = channel().send({}, 50ms);
  EXPECT_EQ(stopped.state, SendState::failed);
  EXPECT_THAT(stopped.problem, HasSubstr("does not answer"));
  first->kill(SIGKILL);
  EXPECT_TRUE(std::filesystem::exists(place().socket)) << "left behind";
  EXPECT_EQ(send({}).state, SendState::notRunning);
  const auto successor = serve();
  EXPECT_EQ(successor.state, ServeState::serving);
  EXPECT_EQ(send({}).state, SendState::done);
}

TEST_F(InstanceChannelTest, OfManyThatStartAtOnceExactlyOneServes) {
  const auto killed = help({"serve", runtime().string(), ":0"});
  ASSERT_TRUE(killed->waitForLine("serving"));
  killed->kill(SIGKILL);
  std::vector<std::unique_ptr<desktop::Process>> all(8);
  for (auto& one : all) {
    one = help({"serve", runtime().string(), ":0"});
  }
  int servers = 0;
  for (const auto& one : all) {
    EXPECT_TRUE(desktop::waitUntil([&] { return one->printed("serving") || one->printed("already running"); }));
    servers += one->printed("serving") ? 1 : 0;
  }
  EXPECT_EQ(servers, 1);
  EXPECT_EQ(send({}).state, SendState::done);
}

TEST_F(InstanceChannelTest, LivesOnlyInAFolderOfTheUsersOwn) {
  const auto environmentPlace = [this](const std::filesystem::path& runtimeFolder) {
    ::setenv("XDG_RUNTIME_DIR", runtimeFolder.c_str(), 1);
    ::setenv("TMPDIR", (folder_ / "tmp").c_str(), 1);
    ::setenv("DISPLAY", ":7", 1);
    return InstancePlace::fromEnvironment();
  };
  const std::filesystem::path own = folder_ / "tmp" / ("jumplark-" + std::to_string(::getuid()));
  std::filesystem::create_directory(folder_ / "tmp");
  ASSERT_EQ(::mkdir(runtime().c_str(), 0700), 0);
  EXPECT_EQ(environmentPlace(runtime()).socket.parent_path(), runtime() / "jumplark");
  EXPECT_EQ(environmentPlace("relative").socket.parent_path(), own);
  ::chmod(runtime().c_str(), 0755);
  EXPECT_EQ(environmentPlace(runtime()).socket.parent_path(), own) << "others can reach the runtime folder";
  EXPECT_EQ(modeOf(own), 0700U);

  std::filesystem::remove(own);
  std::filesystem::create_directory_symlink(folder_, own);
  EXPECT_THAT(environmentPlace("").problem, HasSubstr("it is not a folder"));
  std::filesystem::remove(own);
  std::filesystem::create_directory(own);
  ::chmod(own.c_str(), 0777);
  const InstancePlace open = environmentPlace("");
  EXPECT_THAT(open.problem, HasSubstr("other users can reach it"));
  EXPECT_EQ(InstanceChannel(open).send({}).state, SendState::failed);
  EXPECT_EQ(InstanceChannel(open).serve(queues_, nullptr).problem, open.problem);
  for (const char* name : {"XDG_RUNTIME_DIR", "TMPDIR", "DISPLAY"}) {
    ::unsetenv(name);
  }
}

}  // namespace
}  // namespace jumplark
