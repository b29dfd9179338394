#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace jumplark {

/// An HTTP server on a port of 127.0.0.1 of its own, which answers one connection after the other with whatever bytes
/// the test says.
class TestServer {
 public:
  /// What a client sent, read to the end of its body.
  struct Request {
    std::string line;     ///< method, path and version
    std::string headers;  ///< with their line breaks
    std::string body;
  };
  /// A client that waits for its answer.
  class Client {
   public:
    Client(BIO* stream, const std::atomic<bool>& ending) : stream_(stream), ending_(ending) {}
    /// False when the client has gone.
    bool send(std::string_view bytes);
    /// Sends nothing until the client, or the server, has gone.
    void stall();

   private:
    BIO* stream_;
    const std::atomic<bool>& ending_;
  };
  using Handler = std::function<void(Client& client, const Request& request)>;

  /// Encrypted with a file that holds a certificate and its key.
  explicit TestServer(Handler handler, const std::string& certificate = {});
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;
  ~TestServer();

  /// Says the same to everybody.
  static Handler answering(int status, const std::string& body = {});

  int port() const;
  std::string address(const std::string& host = "127.0.0.1") const;
  std::vector<Request> requests() const;

 private:
  void serve();
  void talk(BIO* stream);

  Handler handler_;
  SSL_CTX* context_ = nullptr;
  BIO* listener_;
  std::atomic<bool> ending_{false};
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::thread thread_;
};

}  // namespace jumplark
