#include "backends/atspi/FakeApplication.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <utility>

namespace jumplark::atspi {
namespace {

constexpr const char* kPrefix = "/org/a11y/atspi/accessible/";
constexpr const char* kNull = "/org/a11y/atspi/null";

std::string lastPart(const char* name, char separator) {
  const std::string text = name ? name : "";
  return text.substr(text.rfind(separator) + 1);
}

/// The interface that a call, or the property that it reads, belongs to.
std::string interfaceOf(sd_bus_message* message) {
  const std::string own = lastPart(sd_bus_message_get_interface(message), '.');
  const char* of = nullptr;
  if (own != "Properties" || sd_bus_message_read(message, "s", &of) <= 0) {
    return own;
  }
  const std::string name = lastPart(of, '.');
  sd_bus_message_rewind(message, 1);
  return name;
}

bool has(const FakeElement& element, const std::string& interface) {
  constexpr uint32_t kApplication = 75;
  return interface == "Accessible" || (interface == "Application" && element.role == kApplication) ||
         std::find(element.interfaces.begin(), element.interfaces.end(), interface) != element.interfaces.end();
}

}  // namespace

FakeApplication::FakeApplication(const PrivateBus& bus, std::string toolkit, std::string version)
    : toolkit_(std::move(toolkit)), version_(std::move(version)) {
  FakeElement root;
  root.role = 75;
  root.parent = "";
  root.states = 0;
  root.interfaces = {};
  elements_["root"] = root;
  peer_ = std::make_unique<FakePeer>(bus.address(), "", handler());
}

FakeElement& FakeApplication::set(const std::string& id, FakeElement element) {
  const std::lock_guard lock(mutex_);
  return elements_[id] = std::move(element);
}

FakeElement& FakeApplication::add(const std::string& parent, const std::string& id, FakeElement element) {
  element.parent = parent;
  const std::lock_guard lock(mutex_);
  elements_[parent].children.push_back(id);
  return elements_[id] = std::move(element);
}

void FakeApplication::remove(const std::string& id) {
  const std::lock_guard lock(mutex_);
  elements_.erase(id);
}

void FakeApplication::cache(std::vector<std::string> ids) {
  const std::lock_guard lock(mutex_);
  cached_ = std::move(ids);
}

void FakeApplication::beforeEachAnswer(std::function<void(const std::string&, const std::string&)> callback) {
  const std::lock_guard lock(mutex_);
  before_ = std::move(callback);
}

void FakeApplication::answerInstead(Answer answer) {
  const std::lock_guard lock(mutex_);
  instead_ = std::move(answer);
}

void FakeApplication::tellSocket(const std::string& address) {
  const std::lock_guard lock(mutex_);
  socket_ = address;
}

ElementRef FakeApplication::ref(const std::string& id) const {
  return makeRef(peer_->uniqueName(), pathOf(id));
}

bool FakeApplication::wasAsked(const std::string& call) const {
  return timesAsked(call) > 0;
}

size_t FakeApplication::timesAsked(const std::string& call) const {
  const std::lock_guard lock(mutex_);
  return asked_.count(call);
}

std::multiset<std::string> FakeApplication::complaints() const {
  const std::lock_guard lock(mutex_);
  return complaints_;
}

std::string FakeApplication::pathOf(const std::string& id) {
  return id.empty() ? kNull : kPrefix + id;
}

int FakeApplication::replyReference(sd_bus_message* message, const std::string& id) const {
  const std::string owner = id.empty() ? "" : peer_->uniqueName();
  return sd_bus_reply_method_return(message, "(so)", owner.c_str(), pathOf(id).c_str());
}

bool FakeApplication::answer(sd_bus_message* message) {
  const std::string id = lastPart(sd_bus_message_get_path(message), '/');
  const std::string interface = lastPart(sd_bus_message_get_interface(message), '.');
  const std::string member = sd_bus_message_get_member(message);
  FakeElement element;
  std::function<void(const std::string&, const std::string&)> before;
  Answer instead;
  std::string socket;
  {
    const std::lock_guard lock(mutex_);
    before = before_;
    instead = instead_;
  }
  if (before) {
    before(id, member);
  }
  {
    const std::lock_guard lock(mutex_);
    asked_.insert(interface + "." + member + " " + id);
    if (interface == "Cache") {
      return cached_ && member == "GetItems" && answerCache(message);
    }
    const auto found = elements_.find(id);
    if (found == elements_.end()) {
      return false;
    }
    element = found->second;
    socket = socket_;
    if (!has(element, interfaceOf(message))) {
      complaints_.insert(interface + "." + member + " " + id);
    }
  }
  if (instead && instead(message, id, member)) {
    return true;
  }
  if (member == "GetApplicationBusAddress" && !socket.empty()) {
    return sd_bus_reply_method_return(message, "s", socket.c_str()) >= 0;
  }
  if (interface == "Accessible") {
    return answerAccessible(message, member, element);
  }
  if (interface == "Properties" && member == "Get") {
    return answerProperty(message, element);
  }
  if (interface == "Component") {
    return answerPlace(message, member, element);
  }
  if (interface == "Table") {
    return answerTable(message, member, element);
  }
  return interface == "Text" && answerText(message, member, element);
}

FakeDesktop::FakeDesktop(const PrivateBus& bus) : address_(bus.address()) {
  launcher_ = std::make_unique<FakePeer>(address_, "org.a11y.Bus", [this](sd_bus_message* m) { return answerBus(m); });
  registry_ = std::make_unique<FakePeer>(address_, "org.a11y.atspi.Registry",
                                         [this](sd_bus_message* m) { return answerRegistry(m); });
}

void FakeDesktop::list(const FakeApplication& application) {
  const std::lock_guard lock(mutex_);
  applications_.push_back(handleOf(application.root())->busName());
}

bool FakeDesktop::answerBus(sd_bus_message* message) {
  const std::string member = sd_bus_message_get_member(message);
  if (member == "GetAddress") {
    return sd_bus_reply_method_return(message, "s", address_.c_str()) >= 0;
  }
  const char* interface = nullptr;
  const char* name = nullptr;
  int value = 0;
  if (member == "Set" && sd_bus_message_read(message, "ssv", &interface, &name, "b", &value) > 0) {
    switchedOn_ = std::string(name) == "IsEnabled" && value != 0;
    return sd_bus_reply_method_return(message, "") >= 0;
  }
  return false;
}

bool FakeDesktop::answerRegistry(sd_bus_message* message) {
  const std::string member = sd_bus_message_get_member(message);
  if (member == "RegisterEvent") {
    return sd_bus_reply_method_return(message, "") >= 0;
  }
  return member == "GetChildren" && replyArray(message, "(so)", [&](sd_bus_message* m) {
           const std::lock_guard lock(mutex_);
           for (const std::string& busName : applications_) {
             sd_bus_message_append(m, "(so)", busName.c_str(), (std::string(kPrefix) + "root").c_str());
           }
         });
}

}  // namespace jumplark::atspi
