#include "backends/system/TestServer.h"

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace jumplark {
namespace {

constexpr int kPollMilliseconds = 20;

std::string textOf(BIO* bio) {
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(bio, &bytes);
  std::string text(bytes, static_cast<size_t>(size));
  BIO_free(bio);
  return text;
}

void check(bool good, const char* what) {
  if (!good) {
    throw std::runtime_error(what);
  }
}

}  // namespace

TestCertificate TestCertificate::make(const std::string& host, int daysLeft) {
  constexpr long kDay = 24L * 3600;
  EVP_PKEY* const key = EVP_EC_gen("P-256");
  X509* const certificate = X509_new();
  check(key && certificate, "no certificate");
  X509_set_version(certificate, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -10L * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), long{daysLeft} * kDay);
  X509_set_pubkey(certificate, key);
  X509_NAME* const name = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(host.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate, name);
  X509_EXTENSION* const hosts = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + host).c_str());
  X509_add_ext(certificate, hosts, -1);
  X509_EXTENSION_free(hosts);
  check(X509_sign(certificate, key, EVP_sha256()) > 0, "the certificate cannot be signed");
  BIO* const certificateText = BIO_new(BIO_s_mem());
  BIO* const keyText = BIO_new(BIO_s_mem());
  PEM_write_bio_X509(certificateText, certificate);
  PEM_write_bio_PrivateKey(keyText, key, nullptr, nullptr, 0, nullptr, nullptr);
  X509_free(certificate);
  EVP_PKEY_free(key);
  return {textOf(certificateText), textOf(keyText)};
}

bool TestServer::Client::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const int size = static_cast<int>(std::min<size_t>(bytes.size(), size_t{1} << 20U));
    const ssize_t sent = ssl_ ? SSL_write(ssl_, bytes.data(), size) : ::send(socket_, bytes.data(), size, MSG_NOSIGNAL);
    if (sent <= 0 || ending_) {
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

size_t TestServer::Client::receive(char* buffer, size_t size) {
  const ssize_t count = ssl_ ? SSL_read(ssl_, buffer, static_cast<int>(size)) : ::recv(socket_, buffer, size, 0);
  return count > 0 ? static_cast<size_t>(count) : 0;
}

void TestServer::Client::stall() {
  pollfd gone{socket_, POLLRDHUP, 0};
  while (!ending_ && ::poll(&gone, 1, kPollMilliseconds) == 0) {
  }
}

TestServer::TestServer(Handler handler) : handler_(std::move(handler)) {
  open();
}

TestServer::TestServer(Handler handler, const TestCertificate& certificate)
    : handler_(std::move(handler)), context_(SSL_CTX_new(TLS_server_method())) {
  std::signal(SIGPIPE, SIG_IGN);  // the library writes to sockets whose clients have gone
  BIO* const certificateText = BIO_new_mem_buf(certificate.certificate.data(), -1);
  BIO* const keyText = BIO_new_mem_buf(certificate.key.data(), -1);
  X509* const parsed = PEM_read_bio_X509(certificateText, nullptr, nullptr, nullptr);
  EVP_PKEY* const key = PEM_read_bio_PrivateKey(keyText, nullptr, nullptr, nullptr);
  const bool taken = SSL_CTX_use_certificate(context_, parsed) == 1 && SSL_CTX_use_PrivateKey(context_, key) == 1;
  X509_free(parsed);
  EVP_PKEY_free(key);
  BIO_free(certificateText);
  BIO_free(keyText);
  check(taken, "the certificate cannot be used");
  open();
}

TestServer::~TestServer() {
  ending_ = true;
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
  SSL_CTX_free(context_);
}

TestServer::Handler TestServer::answering(int status, const std::string& body) {
  return [status, body](Client& client, const Request&) {
    client.send("HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\nSet-Cookie: a=b\r\nLocation: /elsewhere\r\nConnection: close\r\n\r\n" + body);
  };
}

void TestServer::open() {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof place;
  check(::bind(listener_, reinterpret_cast<sockaddr*>(&place), size) == 0 && ::listen(listener_, 8) == 0 &&
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&place), &size) == 0,
        "no port to listen on");
  port_ = ntohs(place.sin_port);
  thread_ = std::thread([this] { serve(); });
}

std::string TestServer::address(const std::string& host) const {
  return std::string(context_ ? "https://" : "http://") + host + ":" + std::to_string(port_);
}

std::vector<TestServer::Request> TestServer::requests() const {
  const std::scoped_lock lock(mutex_);
  return requests_;
}

void TestServer::waitForRequests(size_t count) const {
  std::unique_lock lock(mutex_);
  arrived_.wait(lock, [&] { return requests_.size() >= count; });
}

void TestServer::serve() {
  while (!ending_) {
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) {
      talk(socket);
      ::close(socket);
    }
  }
}

void TestServer::talk(int socket) {
  SSL* const ssl = context_ ? SSL_new(context_) : nullptr;
  if (ssl) {
    SSL_set_fd(ssl, socket);
  }
  Client client(socket, ssl, ending_);
  Request request;
  if ((!ssl || SSL_accept(ssl) == 1) && readRequest(client, request)) {
    {
      const std::scoped_lock lock(mutex_);
      requests_.push_back(request);
    }
    arrived_.notify_all();
    handler_(client, request);
  }
  if (ssl) {
    SSL_shutdown(ssl);
    SSL_free(ssl);
  }
  ::shutdown(socket, SHUT_RDWR);
}

bool TestServer::readRequest(Client& client, Request& request) {
  std::string bytes;
  std::array<char, 4096> buffer{};
  size_t wanted = std::string::npos;
  size_t headEnd = std::string::npos;
  while (headEnd == std::string::npos || bytes.size() < wanted) {
    const size_t count = client.receive(buffer.data(), buffer.size());
    if (count == 0) {
      return false;
    }
    bytes.append(buffer.data(), count);
    headEnd = bytes.find("\r\n\r\n");
    if (headEnd != std::string::npos) {
      const std::string mark = "Content-Length: ";
      const size_t at = bytes.find(mark);
      wanted = headEnd + 4 + (at < headEnd ? std::stoul(bytes.substr(at + mark.size())) : 0);
    }
  }
  const size_t lineEnd = bytes.find("\r\n");
  request = {bytes.substr(0, lineEnd), bytes.substr(lineEnd + 2, headEnd - lineEnd), bytes.substr(headEnd + 4)};
  return true;
}

}  // namespace jumplark
