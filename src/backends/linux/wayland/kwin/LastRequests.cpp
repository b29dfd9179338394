#include "backends/linux/wayland/kwin/LastRequests.h"

#include <systemd/sd-bus.h>

#include <bit>
#include <cstdint>

namespace jumplark::kwin {
namespace {

/// Writes values as D-Bus aligns them.
class Bytes {
 public:
  void align(size_t to) { text_.resize((text_.size() + to - 1) / to * to, '\0'); }
  void add(uint8_t byte) { text_ += static_cast<char>(byte); }
  void add(uint32_t number) {
    align(sizeof number);
    text_.append(reinterpret_cast<const char*>(&number), sizeof number);
  }
  void add(const std::string& text) {
    add(static_cast<uint32_t>(text.size()));
    text_.append(text.c_str(), text.size() + 1);
  }
  void addSignature(const std::string& signature) {
    add(static_cast<uint8_t>(signature.size()));
    text_.append(signature.c_str(), signature.size() + 1);
  }
  void setNumber(size_t place, uint32_t number) {
    text_.replace(place, sizeof number, reinterpret_cast<const char*>(&number), sizeof number);
  }
  size_t size() const { return text_.size(); }
  std::string text() const { return text_; }

 private:
  std::string text_;
};

std::string bodyOf(const LastRequest& request) {
  Bytes body;
  const bool isList = request.signature == "as";
  if (isList) {
    body.add(uint32_t{0});
  }
  for (const std::string& text : request.texts) {
    body.add(text);
  }
  if (request.signature == "u") {
    body.add(request.number);
  }
  if (isList) {
    body.setNumber(0, static_cast<uint32_t>(body.size() - sizeof(uint32_t)));
  }
  return body.text();
}

}  // namespace

std::string encoded(const LastRequest& request, uint32_t serial) {
  constexpr uint8_t kMethodCall = 1;
  constexpr uint8_t kStartsNothing = 2;  // an answer tells that it has been heard
  constexpr uint8_t kProtocol = 1;
  const std::string body = bodyOf(request);
  Bytes bytes;
  bytes.add(static_cast<uint8_t>(std::endian::native == std::endian::little ? 'l' : 'B'));
  bytes.add(kMethodCall);
  bytes.add(kStartsNothing);
  bytes.add(kProtocol);
  bytes.add(static_cast<uint32_t>(body.size()));
  bytes.add(serial);
  const size_t length = bytes.size();
  bytes.add(uint32_t{0});
  const size_t fields = bytes.size();
  const auto addField = [&](uint8_t code, const char* type, const std::string& value) {
    constexpr size_t kStructure = 8;
    bytes.align(kStructure);
    bytes.add(code);
    bytes.addSignature(type);
    *type == 'g' ? bytes.addSignature(value) : bytes.add(value);
  };
  addField(1, "o", request.path);
  addField(2, "s", request.interface);
  addField(3, "s", request.member);
  addField(6, "s", request.busName);
  addField(8, "g", request.signature);
  bytes.setNumber(length, static_cast<uint32_t>(bytes.size() - fields));
  bytes.align(8);
  return bytes.text() + body;
}

std::unique_ptr<LastRequests> LastRequests::create() {
  std::unique_ptr<LastRequests> result(new LastRequests);
  const char* name = nullptr;
  // The bus has to know the connection before the child uses it.
  if (sd_bus_open_user(&result->bus_) < 0 || sd_bus_get_unique_name(result->bus_, &name) < 0) {
    return nullptr;
  }
  result->guard_ = ExitGuard::start({sd_bus_get_fd(result->bus_)});
  return result->guard_ ? std::move(result) : nullptr;
}

LastRequests::~LastRequests() {
  guard_.reset();
  sd_bus_close_unref(bus_);
}

void LastRequests::set(const std::vector<LastRequest>& requests) {
  // Beyond what the library may have used.
  uint32_t serial = 1000;
  std::string words;
  for (const LastRequest& request : requests) {
    words += encoded(request, ++serial);
  }
  guard_->setLastWords(0, words);
}

}  // namespace jumplark::kwin
