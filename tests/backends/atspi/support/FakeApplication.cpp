#include "backends/atspi/support/FakeApplication.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>

#include <algorithm>

#include "platform/Utf8.h"

namespace jumplark::atspi {

/// A question, while it is answered.
struct FakeApplication::Asked {
  FakeApplication& application;
  sd_bus_message* question;
  const FakeElement& element;
};

namespace {

using Message = sd_bus_message*;
using Asked = FakeApplication::Asked;

constexpr const char* kPrefix = "/org/a11y/atspi/accessible/";
constexpr const char* kNull = "/org/a11y/atspi/null";

std::string lastPart(const char* name, char separator) {
  const std::string text = name ? name : "";
  return text.substr(text.rfind(separator) + 1);
}

bool replyWith(Message question, const std::function<void(Message)>& fill) {
  Message answer = nullptr;
  if (sd_bus_message_new_method_return(question, &answer) < 0) {
    return false;
  }
  fill(answer);
  const bool sent = sd_bus_send(nullptr, answer, nullptr) >= 0;
  sd_bus_message_unref(answer);
  return sent;
}

/// Also what is no UTF-8, which sd_bus_message_append() refuses.
void appendText(Message answer, const std::string& text) {
  char* space = nullptr;
  if (sd_bus_message_append_string_space(answer, text.size(), &space) >= 0) {
    text.copy(space, text.size());
  }
}

template <typename List, typename Append>
void appendArray(Message answer, const char* type, const List& list, Append append) {
  sd_bus_message_open_container(answer, 'a', type);
  for (const auto& entry : list) {
    append(entry);
  }
  sd_bus_message_close_container(answer);
}

void appendReference(Message answer, const ElementRef& ref) {
  const AtspiHandle* handle = handleOf(ref);
  sd_bus_message_append(answer, "(so)", handle ? handle->busName().c_str() : "",
                        handle ? handle->path().c_str() : kNull);
}

void appendReferences(Message answer, const FakeApplication& of, const std::vector<std::string>& ids) {
  appendArray(answer, "(so)", ids, [&](const std::string& id) { appendReference(answer, of.ref(id)); });
}

void appendStates(Message answer, uint64_t states) {
  sd_bus_message_append(answer, "au", 2, static_cast<uint32_t>(states), static_cast<uint32_t>(states >> 32U));
}

void appendInterfaces(Message answer, const FakeElement& element) {
  appendArray(answer, "s", element.interfaces,
              [&](const std::string& name) { appendText(answer, "org.a11y.atspi." + name); });
}

void appendRelation(Message answer, const FakeApplication& of, uint32_t type, const std::vector<std::string>& ids) {
  if (!ids.empty()) {
    sd_bus_message_open_container(answer, 'r', "ua(so)");
    sd_bus_message_append(answer, "u", type);
    appendReferences(answer, of, ids);
    sd_bus_message_close_container(answer);
  }
}

void appendPart(const Asked& asked, Message answer) {
  int32_t start = 0;
  int32_t end = 0;
  sd_bus_message_read(asked.question, "ii", &start, &end);
  const std::string& text = asked.element.text;
  appendText(answer, codePoints(text, 0, start, end < 0 ? codePointCount(text) : end));
}

void appendChild(const Asked& asked, Message answer) {
  int32_t index = 0;
  sd_bus_message_read(asked.question, "i", &index);
  const auto& children = asked.element.children;
  const bool inside = index >= 0 && static_cast<size_t>(index) < children.size();
  appendReference(answer, inside ? asked.application.ref(children[static_cast<size_t>(index)]) : ElementRef());
}

void appendOffset(const Asked& asked, Message answer) {
  int32_t x = 0;
  int32_t y = 0;
  sd_bus_message_read(asked.question, "ii", &x, &y);
  const auto& [first, last] = asked.element.visibleText;
  sd_bus_message_append(answer, "i", y < asked.element.rect.midY() ? first : last);
}

using Answers = std::map<std::string, void (*)(const Asked& asked, Message answer)>;

const Answers kMethods{
    {"GetRole", [](const Asked& asked, Message m) { sd_bus_message_append(m, "u", asked.element.role); }},
    {"GetState", [](const Asked& asked, Message m) { appendStates(m, asked.element.states); }},
    {"GetInterfaces", [](const Asked& asked, Message m) { appendInterfaces(m, asked.element); }},
    {"GetChildren",
     [](const Asked& asked, Message m) { appendReferences(m, asked.application, asked.element.children); }},
    {"GetChildAtIndex", appendChild},
    {"GetText", appendPart},
    {"GetAttributes",
     [](const Asked& asked, Message m) {
       appendArray(m, "{ss}", asked.element.attributes, [m](const auto& entry) {
         sd_bus_message_open_container(m, 'e', "ss");
         appendText(m, entry.first);
         appendText(m, entry.second);
         sd_bus_message_close_container(m);
       });
     }},
    {"GetRelationSet",
     [](const Asked& asked, Message m) {
       sd_bus_message_open_container(m, 'a', "(ua(so))");
       appendRelation(m, asked.application, 1, asked.element.labelFor);
       appendRelation(m, asked.application, 2, asked.element.labelledBy);
       sd_bus_message_close_container(m);
     }},
    {"GetExtents",
     [](const Asked& asked, Message m) {
       const Rect& r = asked.element.rect;
       sd_bus_message_append(m, "(iiii)", static_cast<int32_t>(r.x), static_cast<int32_t>(r.y),
                             static_cast<int32_t>(r.width), static_cast<int32_t>(r.height));
     }},
    {"GetOffsetAtPoint", appendOffset},
    {"GetActions",
     [](const Asked& asked, Message m) {
       const std::string& keys = asked.element.keys;
       const char* const told = keys.find(';') == std::string::npos ? "" : keys.c_str();
       appendArray(m, "(sss)", asked.element.actions,
                   [&](const std::string& name) { sd_bus_message_append(m, "(sss)", name.c_str(), "", told); });
     }},
    {"GetKeyBinding", [](const Asked& asked, Message m) { appendText(m, asked.element.keys); }},
    {"DoAction", [](const Asked&, Message m) { sd_bus_message_append(m, "b", 1); }},
};

bool has(const FakeElement& element, const std::string& interface) {
  return interface == "Accessible" || (interface == "Application" && element.role == role::application) ||
         std::find(element.interfaces.begin(), element.interfaces.end(), interface) != element.interfaces.end();
}

}  // namespace

FakeApplication::FakeApplication(const PrivateBus& bus, std::string toolkit, std::string version)
    : toolkit_(std::move(toolkit)), version_(std::move(version)) {
  FakeElement& root = elements_["root"];
  root.role = role::application;
  root.parent = "";
  root.states = 0;
  root.interfaces = {};
  peer_ = std::make_unique<FakePeer>(bus.address(), "", [this](Message message) { return answer(message); });
}

FakeElement& FakeApplication::add(const std::string& parent, const std::string& id, FakeElement element) {
  element.parent = parent;
  const std::lock_guard lock(mutex_);
  elements_[parent].children.push_back(id);
  return elements_[id] = std::move(element);
}

void FakeApplication::openSocket() {
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{AF_UNIX, {}};
  const std::string path = folder_.path() + "/own";
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listening, 1) != 0) {
    throw std::runtime_error("no socket at " + path);
  }
  socket_ = "unix:path=" + path;
  own_ = std::make_unique<FakePeer>(listening, [this](Message message) { return answer(message); });
}

ElementRef FakeApplication::ref(const std::string& id) const {
  return id.empty() ? ElementRef() : makeRef(peer_->uniqueName(), kPrefix + id);
}

bool FakeApplication::answer(sd_bus_message* message) {
  const std::string id = lastPart(sd_bus_message_get_path(message), '/');
  const std::string interface = lastPart(sd_bus_message_get_interface(message), '.');
  const std::string member = sd_bus_message_get_member(message);
  const char* ofInterface = nullptr;
  const char* property = "";
  const bool isProperty = interface == "Properties" && sd_bus_message_read(message, "ss", &ofInterface, &property) > 0;
  int32_t action = 0;
  FakeElement element;
  Answer instead;
  std::optional<std::vector<std::string>> cached;
  {
    const std::lock_guard lock(mutex_);
    asked_.insert(interface + "." + member + " " + id);
    const auto found = elements_.find(id);
    if (found == elements_.end() && interface != "Cache") {
      return false;
    }
    element = found == elements_.end() ? FakeElement() : found->second;
    instead = instead_;
    cached = cached_;
    if (interface != "Cache" && !has(element, isProperty ? lastPart(ofInterface, '.') : interface)) {
      complaints_.insert(interface + "." + member + " " + id);
    }
    if (member == "DoAction" && sd_bus_message_read(message, "i", &action) > 0) {
      done_.push_back(std::to_string(action) + " " + id);
    }
  }
  sd_bus_message_rewind(message, 1);
  if (instead && instead(message, id, member)) {
    return true;
  }
  if (isProperty) {
    return answerProperty(message, property, element);
  }
  if (member == "GetItems") {
    return cached && replyWith(message, [&](Message m) { appendCache(m, *cached); });
  }
  if (member == "GetApplicationBusAddress") {
    return !socket_.empty() && sd_bus_reply_method_return(message, "s", socket_.c_str()) >= 0;
  }
  const auto known = kMethods.find(member);
  return known != kMethods.end() && replyWith(message, [&](Message m) { known->second({*this, message, element}, m); });
}

bool FakeApplication::answerProperty(sd_bus_message* question, const std::string& name, const FakeElement& element) {
  const std::map<std::string, std::string> texts{
      {"Name", element.name}, {"Description", element.description}, {"ToolkitName", toolkit_}, {"Version", version_}};
  if (const auto text = texts.find(name); text != texts.end()) {
    return replyWith(question, [&](Message m) {
      sd_bus_message_open_container(m, 'v', "s");
      appendText(m, text->second);
      sd_bus_message_close_container(m);
    });
  }
  if (name == "CurrentValue") {
    return sd_bus_reply_method_return(question, "v", "d", element.value) >= 0;
  }
  if (name == "ChildCount" || name == "CharacterCount") {
    const auto count =
        static_cast<int32_t>(name == "ChildCount" ? std::ssize(element.children) : codePointCount(element.text));
    return sd_bus_reply_method_return(question, "v", "i", count) >= 0;
  }
  const std::string path = handleOf(ref(element.parent)) ? handleOf(ref(element.parent))->path() : kNull;
  return name == "Parent" &&
         sd_bus_reply_method_return(question, "v", "(so)", peer_->uniqueName().c_str(), path.c_str()) >= 0;
}

void FakeApplication::appendCache(sd_bus_message* answer, const std::vector<std::string>& ids) {
  const std::lock_guard lock(mutex_);
  appendArray(answer, "((so)(so)(so)iiassusau)", ids, [&](const std::string& id) {
    const FakeElement& e = elements_.at(id);
    const auto& siblings = elements_.at(e.parent).children;
    const auto index = std::find(siblings.begin(), siblings.end(), id) - siblings.begin();
    sd_bus_message_open_container(answer, 'r', "(so)(so)(so)iiassusau");
    for (const ElementRef& one : {ref(id), root(), ref(e.parent)}) {
      appendReference(answer, one);
    }
    sd_bus_message_append(answer, "ii", static_cast<int32_t>(index), static_cast<int32_t>(e.children.size()));
    appendInterfaces(answer, e);
    appendText(answer, e.name);
    sd_bus_message_append(answer, "u", e.role);
    appendText(answer, e.description);
    appendStates(answer, e.states);
    sd_bus_message_close_container(answer);
  });
}

FakeDesktop::FakeDesktop(const PrivateBus& bus) : address_(bus.address()) {
  const auto handler = [this](sd_bus_message* message) { return answer(message); };
  launcher_ = std::make_unique<FakePeer>(address_, "org.a11y.Bus", handler);
  registry_ = std::make_unique<FakePeer>(address_, "org.a11y.atspi.Registry", handler);
}

bool FakeDesktop::answer(sd_bus_message* message) {
  const std::string member = sd_bus_message_get_member(message);
  if (member == "GetAddress") {
    return sd_bus_reply_method_return(message, "s", address_.c_str()) >= 0;
  }
  const char* interface = nullptr;
  const char* name = nullptr;
  int value = 0;
  if (member == "Set" && sd_bus_message_read(message, "ssv", &interface, &name, "b", &value) > 0) {
    switchedOn_ = std::string(name) == "IsEnabled" && value != 0;
  }
  if (member == "GetChildren") {
    return replyWith(message, [&](Message m) {
      const std::lock_guard lock(mutex_);
      appendArray(m, "(so)", applications_, [m](const ElementRef& one) { appendReference(m, one); });
    });
  }
  return (member == "Set" || member == "RegisterEvent") && sd_bus_reply_method_return(message, "") >= 0;
}

}  // namespace jumplark::atspi
