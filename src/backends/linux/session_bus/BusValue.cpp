#include "backends/linux/session_bus/BusValue.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstring>

namespace jumplark {
namespace {

const BusValue kNone;

bool isText(char type) {
  return type == 's' || type == 'o' || type == 'g';
}

bool isContainer(char type) {
  return type == 'a' || type == 'r' || type == 'e' || type == 'v';
}

int readBasic(sd_bus_message* message, BusValue& value) {
  if (isText(value.type)) {
    const char* text = nullptr;
    const int r = sd_bus_message_read_basic(message, value.type, &text);
    value.text = std::string_view(r > 0 ? text : "").substr(0, BusValue::kLongestText);
    return r;
  }
  if (value.type == 'h') {
    return sd_bus_message_skip(message, "h");
  }
  return sd_bus_message_read_basic(message, value.type, &value.bits);
}

/// Reads one value. A message's types nest 64 deep at most, so neither does this deeper.
int readOne(sd_bus_message* message, BusValue& value, size_t& left) {  // NOLINT(misc-no-recursion)
  const char* contents = nullptr;
  int r = sd_bus_message_peek_type(message, &value.type, &contents);
  if (r <= 0) {
    return r;
  }
  if (!isContainer(value.type)) {
    return readBasic(message, value);
  }
  value.contents = contents;
  r = sd_bus_message_enter_container(message, value.type, contents);
  while (r >= 0 && sd_bus_message_at_end(message, 0) == 0) {
    if (left == 0) {
      r = sd_bus_message_skip(message, nullptr);
      continue;
    }
    --left;
    r = readOne(message, value.items.emplace_back(), left);
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

}  // namespace

std::string BusValue::signature() const {
  switch (type) {
    case 0:
      return "";
    case 'a':
      return "a" + contents;
    case 'r':
      return "(" + contents + ")";
    case 'e':
      return "{" + contents + "}";
    default:
      return {type};
  }
}

int32_t BusValue::number() const {
  int32_t read = 0;
  std::memcpy(&read, &bits, sizeof read);
  return read;
}

const BusValue& BusValue::at(size_t index) const {
  return index < items.size() ? items[index] : kNone;
}

const BusValue& BusValue::member(std::string_view name) const {
  const auto found = std::ranges::find_if(
      items, [name](const BusValue& entry) { return entry.type == 'e' && entry.at(0).text == name; });
  return found == items.end() ? kNone : found->at(1).inner();
}

int readBusValues(sd_bus_message* message, BusValue& values, size_t& left) {
  values.type = 'r';
  int r = 0;
  while (r >= 0 && sd_bus_message_at_end(message, 0) == 0) {
    r = readOne(message, values.items.emplace_back(), left);
  }
  return r;
}

int appendBusValue(sd_bus_message* message, const BusValue& value) {  // NOLINT(misc-no-recursion)
  if (!isContainer(value.type)) {
    const void* data = isText(value.type) ? static_cast<const void*>(value.text.c_str()) : &value.bits;
    return sd_bus_message_append_basic(message, value.type, data);
  }
  int r = sd_bus_message_open_container(message, value.type, value.contents.c_str());
  for (auto item = value.items.begin(); r >= 0 && item != value.items.end(); ++item) {
    r = appendBusValue(message, *item);
  }
  return r < 0 ? r : sd_bus_message_close_container(message);
}

}  // namespace jumplark
