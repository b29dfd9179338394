#include "backends/atspi/FakeApplication.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <utility>

namespace jumplark::atspi {
namespace {

constexpr const char* kPrefix = "/org/a11y/atspi/accessible/";
constexpr const char* kNull = "/org/a11y/atspi/null";

int reply(sd_bus_message* message, const std::function<int(sd_bus_message*)>& fill) {
  sd_bus_message* answer = nullptr;
  int r = sd_bus_message_new_method_return(message, &answer);
  r = r < 0 ? r : fill(answer);
  r = r < 0 ? r : sd_bus_send(nullptr, answer, nullptr);
  sd_bus_message_unref(answer);
  return r;
}

std::string lastPart(const char* name, char separator) {
  const std::string text = name ? name : "";
  return text.substr(text.rfind(separator) + 1);
}

}  // namespace

FakeApplication::FakeApplication(const PrivateBus& bus, std::string toolkit, std::string version)
    : toolkit_(std::move(toolkit)), version_(std::move(version)) {
  FakeElement root;
  root.role = 75;
  root.parent = "";
  root.states = 0;
  elements_["root"] = root;
  peer_ = std::make_unique<FakePeer>(bus.address(), "", [this](sd_bus_message* message) { return answer(message); });
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

std::string FakeApplication::pathOf(const std::string& id) {
  return kPrefix + id;
}

int FakeApplication::replyReference(sd_bus_message* message, const std::string& id) const {
  const std::string path = id.empty() ? kNull : pathOf(id);
  return sd_bus_reply_method_return(message, "(so)", id.empty() ? "" : peer_->uniqueName().c_str(), path.c_str());
}

bool FakeApplication::answer(sd_bus_message* message) {
  const std::string id = lastPart(sd_bus_message_get_path(message), '/');
  const std::string interface = lastPart(sd_bus_message_get_interface(message), '.');
  const std::string member = sd_bus_message_get_member(message);
  FakeElement element;
  std::function<void(const std::string&, const std::string&)> before;
  Answer instead;
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
  }
  if (instead && instead(message, id, member)) {
    return true;
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

bool FakeApplication::answerCache(sd_bus_message* message) const {
  return reply(message, [&](sd_bus_message* m) {
           sd_bus_message_open_container(m, 'a', "((so)(so)(so)iiassusau)");
           const char* bus = peer_->uniqueName().c_str();
           for (const std::string& id : *cached_) {
             const FakeElement& e = elements_.at(id);
             const auto& siblings = elements_.at(e.parent).children;
             const auto index = std::find(siblings.begin(), siblings.end(), id) - siblings.begin();
             sd_bus_message_open_container(m, 'r', "(so)(so)(so)iiassusau");
             sd_bus_message_append(m, "(so)(so)(so)", bus, pathOf(id).c_str(), bus, pathOf("root").c_str(), bus,
                                   pathOf(e.parent).c_str());
             sd_bus_message_append(m, "ii", static_cast<int32_t>(index), static_cast<int32_t>(e.children.size()));
             sd_bus_message_open_container(m, 'a', "s");
             for (const std::string& name : e.interfaces) {
               sd_bus_message_append(m, "s", ("org.a11y.atspi." + name).c_str());
             }
             sd_bus_message_close_container(m);
             sd_bus_message_append(m, "sus", e.name.c_str(), e.role, e.description.c_str());
             sd_bus_message_append(m, "au", 2, static_cast<uint32_t>(e.states), static_cast<uint32_t>(e.states >> 32U));
             sd_bus_message_close_container(m);
           }
           return sd_bus_message_close_container(m);
         }) >= 0;
}

bool FakeApplication::answerAccessible(sd_bus_message* message, const std::string& member, const FakeElement& element) {
  if (member == "GetState") {
    return reply(message, [&](sd_bus_message* m) {
             return sd_bus_message_append(m, "au", 2, static_cast<uint32_t>(element.states),
                                          static_cast<uint32_t>(element.states >> 32U));
           }) >= 0;
  }
  if (member == "GetRole") {
    return sd_bus_reply_method_return(message, "u", element.role) >= 0;
  }
  if (member == "GetLocalizedRoleName") {
    return sd_bus_reply_method_return(message, "s", ("role " + std::to_string(element.role)).c_str()) >= 0;
  }
  if (member == "GetInterfaces") {
    return reply(message, [&](sd_bus_message* m) {
             sd_bus_message_open_container(m, 'a', "s");
             for (const std::string& name : element.interfaces) {
               sd_bus_message_append(m, "s", ("org.a11y.atspi." + name).c_str());
             }
             return sd_bus_message_close_container(m);
           }) >= 0;
  }
  if (member == "GetChildren") {
    return reply(message, [&](sd_bus_message* m) {
             sd_bus_message_open_container(m, 'a', "(so)");
             for (const std::string& child : element.children) {
               sd_bus_message_append(m, "(so)", peer_->uniqueName().c_str(), pathOf(child).c_str());
             }
             return sd_bus_message_close_container(m);
           }) >= 0;
  }
  if (member == "GetAttributes") {
    return reply(message, [&](sd_bus_message* m) {
             sd_bus_message_open_container(m, 'a', "{ss}");
             for (const auto& [key, value] : element.attributes) {
               sd_bus_message_append(m, "{ss}", key.c_str(), value.c_str());
             }
             return sd_bus_message_close_container(m);
           }) >= 0;
  }
  if (member == "GetRelationSet") {
    return reply(message, [&](sd_bus_message* m) {
             sd_bus_message_open_container(m, 'a', "(ua(so))");
             if (!element.labelledBy.empty()) {
               sd_bus_message_open_container(m, 'r', "ua(so)");
               sd_bus_message_append(m, "u", 2);
               sd_bus_message_open_container(m, 'a', "(so)");
               for (const std::string& label : element.labelledBy) {
                 sd_bus_message_append(m, "(so)", peer_->uniqueName().c_str(), pathOf(label).c_str());
               }
               sd_bus_message_close_container(m);
               sd_bus_message_close_container(m);
             }
             return sd_bus_message_close_container(m);
           }) >= 0;
  }
  int32_t index = 0;
  if (member == "GetChildAtIndex" && sd_bus_message_read(message, "i", &index) > 0) {
    const bool inside = index >= 0 && static_cast<size_t>(index) < element.children.size();
    return replyReference(message, inside ? element.children[static_cast<size_t>(index)] : "") >= 0;
  }
  if (member == "GetIndexInParent") {
    const std::string id = lastPart(sd_bus_message_get_path(message), '/');
    const std::lock_guard lock(mutex_);
    const auto& siblings = elements_[element.parent].children;
    const auto at = std::find(siblings.begin(), siblings.end(), id) - siblings.begin();
    return sd_bus_reply_method_return(message, "i", static_cast<int32_t>(at)) >= 0;
  }
  return false;
}

bool FakeApplication::answerProperty(sd_bus_message* message, const FakeElement& element) {
  const char* interface = nullptr;
  const char* name = nullptr;
  sd_bus_message_read(message, "ss", &interface, &name);
  const std::string property = name;
  const auto text = [&](const std::string& value) {
    return sd_bus_reply_method_return(message, "v", "s", value.c_str()) >= 0;
  };
  const auto number = [&](size_t value) {
    return sd_bus_reply_method_return(message, "v", "i", static_cast<int32_t>(value)) >= 0;
  };
  if (property == "Name") {
    return text(element.name);
  }
  if (property == "Description") {
    return text(element.description);
  }
  if (property == "ToolkitName") {
    return text(toolkit_);
  }
  if (property == "Version") {
    return text(version_);
  }
  if (property == "ChildCount") {
    return number(element.children.size());
  }
  if (property == "CharacterCount") {
    return number(element.text.size());
  }
  if (property == "NColumns") {
    return number(static_cast<size_t>(element.columns));
  }
  if (property == "CurrentValue") {
    return sd_bus_reply_method_return(message, "v", "d", element.value) >= 0;
  }
  if (property == "Parent") {
    const std::string path = element.parent.empty() ? kNull : pathOf(element.parent);
    return sd_bus_reply_method_return(message, "v", "(so)", peer_->uniqueName().c_str(), path.c_str()) >= 0;
  }
  return false;
}

bool FakeApplication::answerText(sd_bus_message* message, const std::string& member, const FakeElement& element) {
  if (member == "GetText") {
    int32_t start = 0;
    int32_t end = 0;
    sd_bus_message_read(message, "ii", &start, &end);
    return sd_bus_reply_method_return(
               message, "s",
               element.text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start)).c_str()) >= 0;
  }
  if (member == "GetOffsetAtPoint") {
    // Ten characters a line, ten pixels high.
    int32_t x = 0;
    int32_t y = 0;
    uint32_t type = 0;
    sd_bus_message_read(message, "iiu", &x, &y, &type);
    const auto line = static_cast<int32_t>((y - element.rect.y) / 10);
    const auto column = std::min(9, static_cast<int32_t>((x - element.rect.x) / 10));
    return sd_bus_reply_method_return(message, "i", line * 10 + column) >= 0;
  }
  return false;
}

bool FakeApplication::answerPlace(sd_bus_message* message, const std::string& member, const FakeElement& element) {
  const Rect& r = element.rect;
  if (member == "GetExtents") {
    return sd_bus_reply_method_return(message, "(iiii)", static_cast<int32_t>(r.x), static_cast<int32_t>(r.y),
                                      static_cast<int32_t>(r.width), static_cast<int32_t>(r.height)) >= 0;
  }
  if (member == "GrabFocus") {
    return sd_bus_reply_method_return(message, "b", 1) >= 0;
  }
  if (member == "GetAccessibleAtPoint") {
    int32_t x = 0;
    int32_t y = 0;
    uint32_t type = 0;
    sd_bus_message_read(message, "iiu", &x, &y, &type);
    const int32_t row = (y - static_cast<int32_t>(r.y)) / element.rowHeight;
    const size_t index = static_cast<size_t>(row) * static_cast<size_t>(std::max(element.columns, 1));
    const bool hit = r.contains({static_cast<double>(x), static_cast<double>(y)}) && index < element.children.size();
    return replyReference(message, hit ? element.children[index] : "") >= 0;
  }
  return false;
}

bool FakeApplication::answerTable(sd_bus_message* message, const std::string& member, const FakeElement& element) {
  int32_t first = 0;
  int32_t second = 0;
  if (member == "GetRowAtIndex" && sd_bus_message_read(message, "i", &first) > 0) {
    return sd_bus_reply_method_return(message, "i", first / std::max(element.columns, 1)) >= 0;
  }
  if (member == "GetAccessibleAt" && sd_bus_message_read(message, "ii", &first, &second) > 0) {
    const auto index = static_cast<size_t>(first) * static_cast<size_t>(element.columns) + static_cast<size_t>(second);
    return replyReference(message, index < element.children.size() ? element.children[index] : "") >= 0;
  }
  return member == "GetColumnHeader" && replyReference(message, "") >= 0;
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
  return member == "GetChildren" &&
         reply(message, [&](sd_bus_message* m) {
           const std::lock_guard lock(mutex_);
           sd_bus_message_open_container(m, 'a', "(so)");
           for (const std::string& busName : applications_) {
             sd_bus_message_append(m, "(so)", busName.c_str(), (std::string(kPrefix) + "root").c_str());
           }
           return sd_bus_message_close_container(m);
         }) >= 0;
}

std::optional<WindowFacts> FakeWindows::window(uint32_t id) {
  const auto found = std::find_if(windows.begin(), windows.end(), [id](const WindowFacts& w) { return w.id == id; });
  return found == windows.end() ? std::nullopt : std::optional(*found);
}

}  // namespace jumplark::atspi
