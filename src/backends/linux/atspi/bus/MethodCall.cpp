#include "backends/linux/atspi/bus/MethodCall.h"

#include <cerrno>
#include <cstring>

#include "backends/linux/atspi/bus/SdBus.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

constexpr const char* kNullPath = "/org/a11y/atspi/null";

/// Cut to kLongestText.
std::string cleanText(const char* bytes) {
  return wellFormedUtf8(bytes, kLongestText);
}

/// Reads (so): a bus name, empty for the answering process itself, and a path.
int readReference(sd_bus_message* message, const std::string& busName, ElementRef& ref) {
  const char* name = nullptr;
  const char* path = nullptr;
  const int r = sd_bus_message_read(message, "(so)", &name, &path);
  if (r <= 0) {
    return r;
  }
  ref = ElementRef();
  if (std::strcmp(path, kNullPath) != 0 && std::strcmp(path, "/") != 0) {
    ref = makeRef(*name ? std::string(name) : busName, path);
  }
  return 1;
}

int readReferences(sd_bus_message* message, const std::string& busName, std::vector<ElementRef>& refs) {
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(so)");
  if (r < 0) {
    return r;
  }
  ElementRef ref;
  while ((r = readReference(message, busName, ref)) > 0) {
    if (ref) {
      refs.push_back(ref);
    }
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

int readText(sd_bus_message* message, ReplyValue& value) {
  const char* read = nullptr;
  const int r = sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &read);
  if (r > 0) {
    value = cleanText(read);
  }
  return r > 0 ? 0 : r < 0 ? r : -EBADMSG;
}

int readTexts(sd_bus_message* message, std::vector<std::string>& list) {
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s");
  if (r < 0) {
    return r;
  }
  const char* read = nullptr;
  while ((r = sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &read)) > 0) {
    list.push_back(cleanText(read));
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

int readStates(sd_bus_message* message, uint64_t& states) {
  const void* words = nullptr;
  size_t bytes = 0;
  const int r = sd_bus_message_read_array(message, SD_BUS_TYPE_UINT32, &words, &bytes);
  if (r < 0) {
    return r;
  }
  uint32_t parts[2] = {0, 0};
  if (words) {
    std::memcpy(parts, words, std::min(bytes, sizeof parts));
  }
  states = static_cast<uint64_t>(parts[1]) << 32U | parts[0];
  return 0;
}

/// The members of one entry of the cache, which has been entered.
int readCacheItem(sd_bus_message* message, const std::string& busName, CacheItem& item) {
  ElementRef application;
  const char* name = nullptr;
  const char* description = nullptr;
  int r = 0;
  if ((r = readReference(message, busName, item.element)) < 0 ||
      (r = readReference(message, busName, application)) < 0 ||
      (r = readReference(message, busName, item.parent)) < 0 ||
      (r = sd_bus_message_read(message, "ii", &item.indexInParent, &item.childCount)) < 0 ||
      (r = readTexts(message, item.interfaces)) < 0 ||
      (r = sd_bus_message_read(message, "sus", &name, &item.role, &description)) < 0) {
    return r;
  }
  item.name = cleanText(name);
  item.description = cleanText(description);
  return readStates(message, item.states);
}

template <typename T>
int readBasic(sd_bus_message* message, char type, ReplyValue& value) {
  T read{};
  const int r = sd_bus_message_read_basic(message, type, &read);
  if (r > 0) {
    value = read;
  }
  return r > 0 ? 0 : r < 0 ? r : -EBADMSG;
}

}  // namespace

namespace decoding {

int nothing(sd_bus_message*, const std::string&, ReplyValue&) {
  return 0;
}

int boolean(sd_bus_message* message, const std::string&, ReplyValue& value) {
  int read = 0;
  const int r = sd_bus_message_read_basic(message, SD_BUS_TYPE_BOOLEAN, &read);
  value = read != 0;
  return r > 0 ? 0 : r < 0 ? r : -EBADMSG;
}

int integer(sd_bus_message* message, const std::string&, ReplyValue& value) {
  return readBasic<int32_t>(message, SD_BUS_TYPE_INT32, value);
}

int number32(sd_bus_message* message, const std::string&, ReplyValue& value) {
  return readBasic<uint32_t>(message, SD_BUS_TYPE_UINT32, value);
}

int text(sd_bus_message* message, const std::string&, ReplyValue& value) {
  return readText(message, value);
}

int texts(sd_bus_message* message, const std::string&, ReplyValue& value) {
  std::vector<std::string> list;
  const int r = readTexts(message, list);
  value = std::move(list);
  return r;
}

int stateSet(sd_bus_message* message, const std::string&, ReplyValue& value) {
  uint64_t states = 0;
  const int r = readStates(message, states);
  value = states;
  return r;
}

int reference(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  ElementRef ref;
  const int r = readReference(message, busName, ref);
  value = ref;
  return r > 0 ? 0 : r < 0 ? r : -EBADMSG;
}

int references(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  std::vector<ElementRef> refs;
  const int r = readReferences(message, busName, refs);
  value = std::move(refs);
  return r;
}

namespace {

int readRectangle(sd_bus_message* message, const char* types, ReplyValue& value) {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;
  const int r = sd_bus_message_read(message, types, &x, &y, &width, &height);
  value = Rect{static_cast<double>(x), static_cast<double>(y), static_cast<double>(width), static_cast<double>(height)};
  return r > 0 ? 0 : r < 0 ? r : -EBADMSG;
}

}  // namespace

int rectangle(sd_bus_message* message, const std::string&, ReplyValue& value) {
  return readRectangle(message, "(iiii)", value);
}

int looseRectangle(sd_bus_message* message, const std::string&, ReplyValue& value) {
  return readRectangle(message, "iiii", value);
}

int attributes(sd_bus_message* message, const std::string&, ReplyValue& value) {
  AttributeMap map;
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{ss}");
  if (r < 0) {
    return r;
  }
  const char* key = nullptr;
  const char* read = nullptr;
  while ((r = sd_bus_message_read(message, "{ss}", &key, &read)) > 0) {
    map[cleanText(key)] = cleanText(read);
  }
  value = std::move(map);
  return r;
}

int relations(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  RelationSet set;
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(ua(so))");
  if (r < 0) {
    return r;
  }
  while ((r = sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, "ua(so)")) > 0) {
    uint32_t type = 0;
    std::vector<ElementRef> targets;
    if ((r = sd_bus_message_read_basic(message, SD_BUS_TYPE_UINT32, &type)) < 0 ||
        (r = readReferences(message, busName, targets)) < 0 || (r = sd_bus_message_exit_container(message)) < 0) {
      return r;
    }
    set.emplace_back(type, std::move(targets));
  }
  value = std::move(set);
  return r;
}

int actionNames(sd_bus_message* message, const std::string&, ReplyValue& value) {
  std::vector<std::string> names;
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(sss)");
  if (r < 0) {
    return r;
  }
  const char* name = nullptr;
  const char* description = nullptr;
  const char* keys = nullptr;
  while ((r = sd_bus_message_read(message, "(sss)", &name, &description, &keys)) > 0) {
    names.push_back(cleanText(name));
  }
  value = std::move(names);
  return r;
}

int cacheItems(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  constexpr const char* kItem = "(so)(so)(so)iiassusau";
  std::vector<CacheItem> items;
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "((so)(so)(so)iiassusau)");
  if (r < 0) {
    return r;
  }
  while ((r = sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, kItem)) > 0) {
    CacheItem item;
    if ((r = readCacheItem(message, busName, item)) < 0 || (r = sd_bus_message_exit_container(message)) < 0) {
      return r;
    }
    items.push_back(std::move(item));
  }
  value = std::move(items);
  return r;
}

int integerProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  const int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "i");
  return r < 0 ? r : integer(message, busName, value);
}

int doubleProperty(sd_bus_message* message, const std::string&, ReplyValue& value) {
  const int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "d");
  return r < 0 ? r : readBasic<double>(message, SD_BUS_TYPE_DOUBLE, value);
}

int textProperty(sd_bus_message* message, const std::string&, ReplyValue& value) {
  const int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "s");
  return r < 0 ? r : readText(message, value);
}

int referenceProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value) {
  const int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "(so)");
  return r < 0 ? r : reference(message, busName, value);
}

}  // namespace decoding
}  // namespace jumplark::atspi
