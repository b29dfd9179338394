#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/system/InstanceChannel.h"

namespace jumplark {

/// The running instance's end of the channel: a thread that sleeps until a client comes, reads one line of each, has
/// the handler called on the main queue and sends the answer. Clients wait for none but the handler.
class InstanceServer {
 public:
  /// `listener` listens on `socket`, which is removed at the end, before `lock` is let go.
  InstanceServer(FileDescriptor lock, FileDescriptor listener, std::filesystem::path socket, Queues& queues,
                 InstanceChannel::Handler handler);
  InstanceServer(const InstanceServer&) = delete;
  InstanceServer& operator=(const InstanceServer&) = delete;
  /// Waits for a running call of the handler, except on that call's own thread; none comes afterwards.
  ~InstanceServer();

 private:
  struct Client;
  struct Answers;
  class Call;
  using Clock = std::chrono::steady_clock;

  void run();
  int millisecondsToDeadline() const;
  void acceptClients();
  bool readFrom(Client& client);
  void ask(Client& client, const std::string& line);
  static bool writeTo(Client& client);
  void takeAnswers();
  void dropLateClients();

  FileDescriptor lock_;
  FileDescriptor listener_;
  std::filesystem::path socket_;
  Queues& queues_;
  std::shared_ptr<Answers> answers_;  ///< with the calls that are posted
  std::shared_ptr<Call> call_;
  std::list<Client> clients_;
  uint64_t lastClient_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace jumplark
