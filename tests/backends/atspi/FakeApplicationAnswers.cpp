#include <systemd/sd-bus.h>

#include <algorithm>

#include "backends/atspi/FakeApplication.h"

namespace jumplark::atspi {

bool replyArray(sd_bus_message* message, const char* type, const std::function<void(sd_bus_message*)>& append) {
  sd_bus_message* answer = nullptr;
  if (sd_bus_message_new_method_return(message, &answer) < 0) {
    return false;
  }
  sd_bus_message_open_container(answer, 'a', type);
  append(answer);
  const bool sent = sd_bus_message_close_container(answer) >= 0 && sd_bus_send(nullptr, answer, nullptr) >= 0;
  sd_bus_message_unref(answer);
  return sent;
}

bool FakeApplication::answerCache(sd_bus_message* message) const {
  return replyArray(message, "((so)(so)(so)iiassusau)", [&](sd_bus_message* m) {
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
  });
}

bool FakeApplication::answerAccessible(sd_bus_message* message, const std::string& member, const FakeElement& element) {
  if (member == "GetState") {
    return replyArray(message, "u", [&](sd_bus_message* m) {
      sd_bus_message_append(m, "uu", static_cast<uint32_t>(element.states),
                            static_cast<uint32_t>(element.states >> 32U));
    });
  }
  if (member == "GetRole") {
    return sd_bus_reply_method_return(message, "u", element.role) >= 0;
  }
  if (member == "GetLocalizedRoleName") {
    return sd_bus_reply_method_return(message, "s", ("role " + std::to_string(element.role)).c_str()) >= 0;
  }
  if (member == "GetInterfaces") {
    return replyArray(message, "s", [&](sd_bus_message* m) {
      for (const std::string& name : element.interfaces) {
        sd_bus_message_append(m, "s", ("org.a11y.atspi." + name).c_str());
      }
    });
  }
  if (member == "GetChildren") {
    return replyArray(message, "(so)", [&](sd_bus_message* m) {
      for (const std::string& child : element.children) {
        sd_bus_message_append(m, "(so)", peer_->uniqueName().c_str(), pathOf(child).c_str());
      }
    });
  }
  if (member == "GetAttributes") {
    return replyArray(message, "{ss}", [&](sd_bus_message* m) {
      for (const auto& [key, value] : element.attributes) {
        sd_bus_message_append(m, "{ss}", key.c_str(), value.c_str());
      }
    });
  }
  if (member == "GetRelationSet") {
    return replyArray(message, "(ua(so))", [&](sd_bus_message* m) {
      for (const auto& [type, targets] : {std::pair(1, element.labelFor), std::pair(2, element.labelledBy)}) {
        if (targets.empty()) {
          continue;
        }
        sd_bus_message_open_container(m, 'r', "ua(so)");
        sd_bus_message_append(m, "u", type);
        sd_bus_message_open_container(m, 'a', "(so)");
        for (const std::string& target : targets) {
          sd_bus_message_append(m, "(so)", peer_->uniqueName().c_str(), pathOf(target).c_str());
        }
        sd_bus_message_close_container(m);
        sd_bus_message_close_container(m);
      }
    });
  }
  int32_t index = 0;
  if (member == "GetChildAtIndex" && sd_bus_message_read(message, "i", &index) > 0) {
    const bool inside = index >= 0 && static_cast<size_t>(index) < element.children.size();
    return replyReference(message, inside ? element.children[static_cast<size_t>(index)] : "") >= 0;
  }
  if (member == "GetIndexInParent") {
    const std::string path = sd_bus_message_get_path(message);
    const std::lock_guard lock(mutex_);
    const auto& siblings = elements_[element.parent].children;
    const auto isAsked = [&](const std::string& id) { return pathOf(id) == path; };
    const auto at = std::find_if(siblings.begin(), siblings.end(), isAsked) - siblings.begin();
    return sd_bus_reply_method_return(message, "i", static_cast<int32_t>(at)) >= 0;
  }
  return false;
}

bool FakeApplication::answerProperty(sd_bus_message* message, const FakeElement& element) {
  const char* interface = nullptr;
  const char* property = nullptr;
  sd_bus_message_read(message, "ss", &interface, &property);
  const std::string name = property;
  const std::map<std::string, std::string> texts = {
      {"Name", element.name}, {"Description", element.description}, {"ToolkitName", toolkit_}, {"Version", version_}};
  const std::map<std::string, size_t> numbers = {{"ChildCount", element.children.size()},
                                                 {"CharacterCount", element.text.size()},
                                                 {"NColumns", static_cast<size_t>(element.columns)}};
  if (texts.contains(name)) {
    return sd_bus_reply_method_return(message, "v", "s", texts.at(name).c_str()) >= 0;
  }
  if (numbers.contains(name)) {
    return sd_bus_reply_method_return(message, "v", "i", static_cast<int32_t>(numbers.at(name))) >= 0;
  }
  if (name == "CurrentValue") {
    return sd_bus_reply_method_return(message, "v", "d", element.value) >= 0;
  }
  if (name == "Parent") {
    const std::string path = pathOf(element.parent);
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
    const int32_t column = element.columnWidth > 0 ? (x - static_cast<int32_t>(r.x)) / element.columnWidth : 0;
    const auto index = static_cast<size_t>(int64_t{row} * std::max(element.columns, 1) + column);
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

}  // namespace jumplark::atspi
