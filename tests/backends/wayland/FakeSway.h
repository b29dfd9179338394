#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/wayland/sway/SwayIpc.h"

namespace jumplark::sway {

/// The other end of sway's socket, which answers what it is told to and notes the commands.
class FakeSway {
 public:
  FakeSway() : path_((std::filesystem::temp_directory_path() / ("fake-sway." + std::to_string(getpid()))).string()) {
    start();
  }
  ~FakeSway() { stop(); }

  const std::string& path() const { return path_; }

  void start() {
    std::filesystem::remove(path_);
    listener_ = FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    if (bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_.get(), 8) != 0) {
      throw std::runtime_error("no socket for a fake sway");
    }
    stop_ = FileDescriptor(eventfd(0, EFD_CLOEXEC));
    thread_ = std::thread([this] { serve(); });
  }
  void stop() {
    if (thread_.joinable()) {
      eventfd_write(stop_.get(), 1);
      thread_.join();
    }
    clients_.clear();
    listener_.reset();
    std::filesystem::remove(path_);
  }

  /// In place of a proper answer to anything; empty: answers properly.
  void setAnswer(std::string bytes) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(bytes);
  }
  void setConfiguration(std::string text) {
    const std::lock_guard lock(mutex_);
    configuration_ = std::move(text);
  }
  std::vector<std::string> commands() {
    const std::lock_guard lock(mutex_);
    return commands_;
  }
  /// To whoever has subscribed.
  void tell(uint32_t type, const nlohmann::json& event) {
    const std::lock_guard lock(mutex_);
    for (const int client : subscribers_) {
      reply(client, type, event.dump());
    }
  }
  size_t subscribers() {
    const std::lock_guard lock(mutex_);
    return subscribers_.size();
  }

 private:
  static void reply(int client, uint32_t type, const std::string& body) {
    const std::string bytes = encoded(static_cast<Message>(type), body);
    [[maybe_unused]] const ssize_t sent = send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  void serve() {
    while (true) {
      std::vector<pollfd> waiting = {{stop_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
      for (const FileDescriptor& client : clients_) {
        waiting.push_back({client.get(), POLLIN, 0});
      }
      poll(waiting.data(), waiting.size(), -1);
      if (waiting[0].revents != 0) {
        break;
      }
      for (size_t i = 2; i < waiting.size(); ++i) {
        if (waiting[i].revents != 0 && !handle(waiting[i].fd)) {
          std::erase_if(clients_, [&](const FileDescriptor& client) { return client.get() == waiting[i].fd; });
        }
      }
      if (waiting[1].revents != 0) {
        clients_.emplace_back(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      }
    }
    const std::lock_guard lock(mutex_);
    subscribers_.clear();
  }

  bool handle(int client) {
    char header[14];
    uint32_t numbers[2];
    if (recv(client, header, sizeof header, MSG_WAITALL) != sizeof header) {
      const std::lock_guard lock(mutex_);
      std::erase(subscribers_, client);
      return false;
    }
    std::memcpy(numbers, header + 6, sizeof numbers);
    std::string body(numbers[0], '\0');
    if (!body.empty()) {
      recv(client, body.data(), body.size(), MSG_WAITALL);
    }
    const std::lock_guard lock(mutex_);
    if (!answer_.empty()) {
      send(client, answer_.data(), answer_.size(), MSG_NOSIGNAL);
      return true;
    }
    switch (static_cast<Message>(numbers[1])) {
      case Message::runCommand:
        commands_.push_back(body);
        reply(client, numbers[1], R"([{"success":true}])");
        break;
      case Message::subscribe:
        subscribers_.push_back(client);
        reply(client, numbers[1], R"({"success":true})");
        break;
      case Message::getConfiguration:
        reply(client, numbers[1], nlohmann::json{{"config", configuration_}}.dump());
        break;
      default:
        reply(client, numbers[1], R"({"major":1,"minor":7,"loaded_config_file_name":"/nowhere/config"})");
    }
    return true;
  }

  const std::string path_;
  FileDescriptor listener_;
  FileDescriptor stop_;
  std::thread thread_;
  std::vector<FileDescriptor> clients_;
  std::mutex mutex_;
  std::string answer_;
  std::string configuration_;
  std::vector<std::string> commands_;
  std::vector<int> subscribers_;
};

}  // namespace jumplark::sway
