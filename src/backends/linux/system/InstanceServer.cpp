#include "backends/linux/system/InstanceServer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "backends/linux/system/QuietThread.h"
#include "backends/threads/GuardedCallback.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr size_t kLongestLine = 256;
constexpr size_t kMostClients = 16;
constexpr auto kClientPatience = std::chrono::seconds(5);
constexpr const char* kPreferences = "preferences";

bool isOwnUser(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
}

/// None for what is no command.
std::optional<InstanceCommand> parse(std::string_view line) {
  const bool hasControls =
      std::any_of(line.begin(), line.end(), [](unsigned char c) { return c < 0x20U || c == 0x7FU; });
  if (hasControls) {
    return std::nullopt;
  }
  if (line == "activate") {
    return InstanceCommand{InstanceCommand::Kind::activate, {}};
  }
  if (line == "reopen") {
    return InstanceCommand{InstanceCommand::Kind::reopen, {}};
  }
  const std::string_view name = line.substr(0, line.find(' '));
  if (name != kPreferences) {
    return std::nullopt;
  }
  line.remove_prefix(std::min(line.size(), name.size() + 1));
  return InstanceCommand{InstanceCommand::Kind::preferences, std::string(line)};
}

std::string answerLine(std::string problem) {
  if (problem.empty()) {
    return "ok\n";
  }
  std::replace(problem.begin(), problem.end(), '\n', ' ');
  return "error " + problem + "\n";
}

}  // namespace

struct InstanceServer::Client {
  FileDescriptor connection;
  uint64_t number = 0;
  Clock::time_point deadline;  ///< for its line, then for taking the answer
  std::string received;
  std::string toSend;
  bool asked = false;

  bool isWaiting() const { return asked && toSend.empty(); }
};

/// Answers on their way from the main queue to the thread.
struct InstanceServer::Answers {
  std::mutex mutex;
  std::vector<std::pair<uint64_t, std::string>> lines;  ///< by the client's number
  FileDescriptor wake{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};

  void poke() {
    const uint64_t one = 1;
    // Fails only when the counter is full, and then the thread wakes anyway.
    static_cast<void>(!::write(wake.get(), &one, sizeof one));
  }
  void put(uint64_t client, std::string line) {
    {
      const std::scoped_lock lock(mutex);
      lines.emplace_back(client, std::move(line));
    }
    poke();
  }
};

class InstanceServer::Call : public GuardedCallback<const InstanceCommand&, std::string&> {
 public:
  using GuardedCallback::GuardedCallback;
};

InstanceServer::InstanceServer(FileDescriptor lock, FileDescriptor listener, std::filesystem::path socket,
                               Queues& queues, InstanceChannel::Handler handler)
    : lock_(std::move(lock)),
      listener_(std::move(listener)),
      socket_(std::move(socket)),
      queues_(queues),
      answers_(std::make_shared<Answers>()),
      call_(
          std::make_shared<Call>([handler = std::move(handler)](const InstanceCommand& command, std::string& problem) {
            problem = handler(command);
          })) {
  if (!answers_->wake) {
    throw std::system_error(errno, std::generic_category(), "Cannot make an event descriptor");
  }
  thread_ = startQuietThread([this] { run(); });
}

InstanceServer::~InstanceServer() {
  stopping_ = true;
  answers_->poke();
  thread_.join();
  call_->end();
  ::unlink(socket_.c_str());
}

void InstanceServer::run() {
  while (!stopping_) {
    std::vector<pollfd> polled{{answers_->wake.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
    for (const Client& client : clients_) {
      const short wanted = client.asked ? short{client.toSend.empty() ? short{0} : short{POLLOUT}} : short{POLLIN};
      polled.push_back({client.connection.get(), wanted, 0});
    }
    if (::poll(polled.data(), polled.size(), millisecondsToDeadline()) < 0) {
      continue;
    }
    takeAnswers();
    auto entry = polled.begin() + 2;
    for (auto client = clients_.begin(); client != clients_.end(); ++entry) {
      const bool readable = (entry->revents & POLLIN) != 0 && !client->asked;
      const bool gone = (entry->revents & (POLLERR | POLLNVAL)) != 0 || ((entry->revents & POLLHUP) != 0 && !readable);
      const bool over = gone || (readable && !readFrom(*client)) || (!client->toSend.empty() && !writeTo(*client));
      client = over ? clients_.erase(client) : std::next(client);
    }
    if ((polled[1].revents & POLLIN) != 0) {
      acceptClients();
    }
    dropLateClients();
  }
}

int InstanceServer::millisecondsToDeadline() const {
  std::optional<Clock::time_point> first;
  for (const Client& client : clients_) {
    if (!client.isWaiting()) {
      first = first ? std::min(*first, client.deadline) : client.deadline;
    }
  }
  if (!first) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*first - Clock::now()).count();
  return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void InstanceServer::acceptClients() {
  while (true) {
    FileDescriptor connection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!connection) {
      if ((errno == EMFILE || errno == ENFILE) && !clients_.empty()) {
        clients_.pop_front();
      }
      return;
    }
    if (!isOwnUser(connection.get())) {
      continue;
    }
    if (clients_.size() == kMostClients) {
      const auto idle = std::find_if(clients_.begin(), clients_.end(), [](const Client& c) { return !c.asked; });
      clients_.erase(idle != clients_.end() ? idle : clients_.begin());
    }
    clients_.push_back({std::move(connection), ++lastClient_, Clock::now() + kClientPatience, {}, {}, false});
  }
}

/// False when the client is done with.
bool InstanceServer::readFrom(Client& client) {
  std::array<char, kLongestLine + 1> buffer{};
  const ssize_t count = ::recv(client.connection.get(), buffer.data(), buffer.size(), 0);
  if (count <= 0) {
    return count < 0 && (errno == EAGAIN || errno == EINTR);
  }
  client.received.append(buffer.data(), static_cast<size_t>(count));
  const size_t end = client.received.find('\n');
  if (std::min(end, client.received.size()) > kLongestLine) {
    client.asked = true;
    client.toSend = answerLine(localized("the running Jumplark does not know this command"));
  } else if (end != std::string::npos) {
    client.asked = true;
    ask(client, client.received.substr(0, end));
  }
  return true;
}

void InstanceServer::ask(Client& client, const std::string& line) {
  const std::optional<InstanceCommand> command = parse(line);
  if (!command) {
    client.toSend = answerLine(localized("the running Jumplark does not know this command"));
    return;
  }
  queues_.mainQueue().post(
      [call = call_, answers = answers_, &queues = queues_, command = *command, number = client.number] {
        std::string problem;
        call->call(queues, command, problem);
        answers->put(number, answerLine(std::move(problem)));
      });
}

/// False when the client is done with.
bool InstanceServer::writeTo(Client& client) {
  const ssize_t count = ::send(client.connection.get(), client.toSend.data(), client.toSend.size(), MSG_NOSIGNAL);
  if (count < 0) {
    return errno == EAGAIN || errno == EINTR;
  }
  client.toSend.erase(0, static_cast<size_t>(count));
  return !client.toSend.empty();
}

void InstanceServer::takeAnswers() {
  uint64_t pokes = 0;
  static_cast<void>(!::read(answers_->wake.get(), &pokes, sizeof pokes));
  std::vector<std::pair<uint64_t, std::string>> lines;
  {
    const std::scoped_lock lock(answers_->mutex);
    lines.swap(answers_->lines);
  }
  for (auto& [number, line] : lines) {
    const auto client = std::find_if(clients_.begin(), clients_.end(),
                                     [wanted = number](const Client& each) { return each.number == wanted; });
    if (client != clients_.end()) {
      client->toSend = std::move(line);
      client->deadline = Clock::now() + kClientPatience;
    }
  }
}

void InstanceServer::dropLateClients() {
  const auto now = Clock::now();
  std::erase_if(clients_, [now](const Client& client) { return !client.isWaiting() && client.deadline <= now; });
}

}  // namespace jumplark
