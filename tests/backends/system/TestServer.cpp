#include "backends/system/TestServer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <utility>

namespace jumplark {
namespace {

constexpr int kPollMilliseconds = 20;

void check(bool good, const char* what) {
  if (!good) {
    throw std::runtime_error(what);
  }
}

/// The whole of a request; none when the client has gone before its end.
std::optional<TestServer::Request> readRequest(BIO* stream) {
  const std::string mark = "Content-Length: ";
  std::string bytes;
  std::array<char, 4096> buffer{};
  size_t wanted = std::string::npos;
  size_t headEnd = std::string::npos;
  while (headEnd == std::string::npos || bytes.size() < wanted) {
    const int count = BIO_read(stream, buffer.data(), static_cast<int>(buffer.size()));
    if (count <= 0) {
      return std::nullopt;
    }
    bytes.append(buffer.data(), static_cast<size_t>(count));
    headEnd = bytes.find("\r\n\r\n");
    if (headEnd != std::string::npos) {
      const size_t at = bytes.find(mark);
      wanted = headEnd + 4 + (at < headEnd ? std::stoul(bytes.substr(at + mark.size())) : 0);
    }
  }
  const size_t lineEnd = bytes.find("\r\n");
  return TestServer::Request{bytes.substr(0, lineEnd), bytes.substr(lineEnd + 2, headEnd - lineEnd),
                             bytes.substr(headEnd + 4)};
}

}  // namespace

bool TestServer::Client::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = BIO_write(stream_, bytes.data(), static_cast<int>(std::min<size_t>(bytes.size(), 1U << 20U)));
    if (sent <= 0 || ending_) {
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

void TestServer::Client::stall() {
  pollfd gone{static_cast<int>(BIO_get_fd(stream_, nullptr)), POLLRDHUP, 0};
  while (!ending_ && ::poll(&gone, 1, kPollMilliseconds) == 0) {
  }
}

TestServer::TestServer(Handler handler, const std::string& certificate)
    : handler_(std::move(handler)), listener_(BIO_new_accept("127.0.0.1:0")) {
  std::signal(SIGPIPE, SIG_IGN);  // the library writes to sockets whose clients have gone
  if (!certificate.empty()) {
    context_ = SSL_CTX_new(TLS_server_method());
    check(SSL_CTX_use_certificate_file(context_, certificate.c_str(), SSL_FILETYPE_PEM) == 1 &&
              SSL_CTX_use_PrivateKey_file(context_, certificate.c_str(), SSL_FILETYPE_PEM) == 1,
          "the certificate cannot be used");
  }
  check(BIO_do_accept(listener_) > 0, "no port to listen on");
  ::fcntl(static_cast<int>(BIO_get_fd(listener_, nullptr)), F_SETFD, FD_CLOEXEC);
  thread_ = std::thread([this] { serve(); });
}

TestServer::~TestServer() {
  ending_ = true;
  ::shutdown(static_cast<int>(BIO_get_fd(listener_, nullptr)), SHUT_RDWR);
  thread_.join();
  BIO_free_all(listener_);
  SSL_CTX_free(context_);
}

TestServer::Handler TestServer::answering(int status, const std::string& body) {
  return [status, body](Client& client, const Request&) {
    client.send("HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\nSet-Cookie: a=b\r\nLocation: /elsewhere\r\nConnection: close\r\n\r\n" + body);
  };
}

int TestServer::port() const {
  return std::stoi(BIO_get_accept_port(listener_));
}

std::string TestServer::address(const std::string& host) const {
  return std::string(context_ ? "https://" : "http://") + host + ":" + std::to_string(port());
}

std::vector<TestServer::Request> TestServer::requests() const {
  const std::scoped_lock lock(mutex_);
  return requests_;
}

void TestServer::serve() {
  while (!ending_) {
    if (BIO_do_accept(listener_) > 0) {
      BIO* const socket = BIO_pop(listener_);
      ::fcntl(static_cast<int>(BIO_get_fd(socket, nullptr)), F_SETFD, FD_CLOEXEC);
      BIO* const stream = context_ ? BIO_push(BIO_new_ssl(context_, 0), socket) : socket;
      talk(stream);
      BIO_ssl_shutdown(stream);
      ::shutdown(static_cast<int>(BIO_get_fd(stream, nullptr)), SHUT_RDWR);
      BIO_free_all(stream);
    }
  }
}

void TestServer::talk(BIO* stream) {
  if (context_ && BIO_do_handshake(stream) <= 0) {
    return;
  }
  if (const auto request = readRequest(stream)) {
    {
      const std::scoped_lock lock(mutex_);
      requests_.push_back(*request);
    }
    Client client(stream, ending_);
    handler_(client, *request);
  }
}

}  // namespace jumplark
