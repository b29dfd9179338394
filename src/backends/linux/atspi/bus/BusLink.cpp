#include "backends/linux/atspi/bus/BusLink.h"

#include <poll.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>

#include "backends/linux/atspi/bus/SdBus.h"
#include "platform/SystemErrors.h"

namespace jumplark::atspi {
namespace {

constexpr int kMessagesAtOnce = 64;

/// (aiia{ss}iaiiasib): states, attributes, roles and interfaces, each with how they must fit, and whether to invert.
int appendRule(sd_bus_message* message, const MatchRule& rule) {
  constexpr auto kAll = static_cast<int32_t>(MatchRule::Match::all);
  std::array<uint32_t, 4> roles{};
  for (const uint32_t role : rule.roles) {
    if (role / 32 < roles.size()) {
      roles[role / 32] |= 1U << (role % 32);
    }
  }
  const auto any = static_cast<int32_t>(rule.roles.empty() ? MatchRule::Match::all : MatchRule::Match::any);
  return sd_bus_message_append(message, "(aiia{ss}iaiiasib)", 2, static_cast<int32_t>(rule.states & UINT32_MAX),
                               static_cast<int32_t>(rule.states >> 32U), static_cast<int32_t>(rule.matchStates), 0,
                               kAll, 4, static_cast<int32_t>(roles[0]), static_cast<int32_t>(roles[1]),
                               static_cast<int32_t>(roles[2]), static_cast<int32_t>(roles[3]), any, 0, kAll, 0);
}

int appendArgument(sd_bus_message* message, const Argument& argument) {
  if (const auto* number = std::get_if<int32_t>(&argument)) {
    return sd_bus_message_append_basic(message, SD_BUS_TYPE_INT32, number);
  }
  if (const auto* number = std::get_if<uint32_t>(&argument)) {
    return sd_bus_message_append_basic(message, SD_BUS_TYPE_UINT32, number);
  }
  if (const auto* text = std::get_if<std::string>(&argument)) {
    return sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, text->c_str());
  }
  if (const auto* truth = std::get_if<bool>(&argument)) {
    const int value = *truth ? 1 : 0;
    return sd_bus_message_append_basic(message, SD_BUS_TYPE_BOOLEAN, &value);
  }
  if (const auto* rule = std::get_if<MatchRule>(&argument)) {
    return appendRule(message, *rule);
  }
  int r = sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "s");
  for (const std::string& text : std::get<std::vector<std::string>>(argument)) {
    r = r < 0 ? r : sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, text.c_str());
  }
  return r < 0 ? r : sd_bus_message_close_container(message);
}

MessagePointer makeMessage(sd_bus* bus, const MethodCall& call) {
  sd_bus_message* raw = nullptr;
  if (sd_bus_message_new_method_call(bus, &raw, call.busName.c_str(), call.path.c_str(), call.interface, call.member) <
      0) {
    return nullptr;
  }
  MessagePointer message(raw);
  for (const Argument& argument : call.arguments) {
    if (appendArgument(raw, argument) < 0) {
      return nullptr;
    }
  }
  return message;
}

Reply decodeReply(const MethodCall& call, sd_bus_message* message) {
  Reply reply;
  if (const sd_bus_error* error = sd_bus_message_get_error(message)) {
    reply.error = meaningOfError(call, error->name);
    return reply;
  }
  const int r = call.decode ? call.decode(message, call.busName, reply.value) : 0;
  reply.error = r < 0 ? AccessibilityError::failure : AccessibilityError::success;
  if (r < 0) {
    spdlog::debug("{}.{} of {}{} answered in an unknown form", call.interface, call.member, call.busName, call.path);
    reply.value = std::monostate{};
  }
  return reply;
}

struct Pending final : PendingAnswer {
  const MethodCall* call = nullptr;
  std::function<void(Reply)> onReply;
  SlotPointer slot;
};

int onAnswer(sd_bus_message* message, void* data, sd_bus_error*) {
  auto* pending = static_cast<Pending*>(data);
  try {
    // The receiver may destroy `pending`, and with it the function that is running.
    const auto receiver = std::move(pending->onReply);
    receiver(decodeReply(*pending->call, message));
  } catch (const std::exception& e) {
    spdlog::error("Handling a reply failed: {}", e.what());
  }
  return 0;
}

}  // namespace

struct BusLink::Private {
  SessionBusConnection bus;
};

BusLink::BusLink(std::unique_ptr<Private> d) : d_(std::move(d)) {}

BusLink::~BusLink() = default;

std::unique_ptr<BusLink> BusLink::open(const std::string& address, Kind kind, std::string* why) {
  sd_bus* raw = nullptr;
  int r = sd_bus_new(&raw);
  auto d = std::make_unique<Private>();
  if (r >= 0) {
    d->bus.reset(raw);
    r = sd_bus_set_address(raw, address.c_str());
  }
  if (r >= 0) {
    r = sd_bus_set_bus_client(raw, kind == Kind::bus);
  }
  if (r >= 0) {
    r = sd_bus_start(raw);
  }
  if (r < 0) {
    if (why) {
      *why = textOfSystemError(-r);
    }
    return nullptr;
  }
  return std::unique_ptr<BusLink>(new BusLink(std::move(d)));
}

std::unique_ptr<PendingAnswer> BusLink::send(const MethodCall& call, std::function<void(Reply)> onReply) {
  const MessagePointer message = alive_ ? makeMessage(d_->bus.get(), call) : nullptr;
  if (!message) {
    return nullptr;
  }
  auto pending = std::make_unique<Pending>();
  pending->call = &call;
  pending->onReply = std::move(onReply);
  sd_bus_slot* slot = nullptr;
  // Time-outs are judged by application, not by message.
  if (sd_bus_call_async(d_->bus.get(), &slot, message.get(), onAnswer, pending.get(), UINT64_MAX) < 0) {
    return nullptr;
  }
  pending->slot.reset(slot);
  return pending;
}

bool BusLink::process() {
  for (int i = 0; alive_ && i < kMessagesAtOnce; ++i) {
    const int r = sd_bus_process(d_->bus.get(), nullptr);
    if (r < 0 || sd_bus_is_open(d_->bus.get()) <= 0) {
      alive_ = false;
    }
    if (r <= 0) {
      return false;
    }
  }
  return alive_;
}

pollfd BusLink::pollRequest() const {
  const int events = sd_bus_get_events(d_->bus.get());
  return {sd_bus_get_fd(d_->bus.get()), static_cast<int16_t>(std::max(events, 0)), 0};
}

TimePoint BusLink::wakeUpAt() const {
  uint64_t microseconds = UINT64_MAX;
  // steady_clock and sd-bus both count CLOCK_MONOTONIC.
  if (sd_bus_get_timeout(d_->bus.get(), &microseconds) < 0 || microseconds == UINT64_MAX) {
    return TimePoint::max();
  }
  return TimePoint(std::chrono::microseconds(microseconds));
}

bool BusLink::waitUntil(const std::function<bool()>& condition, TimePoint deadline) {
  while (alive_ && !condition()) {
    if (process()) {
      continue;
    }
    const TimePoint now = Clock::now();
    if (condition() || now >= deadline) {
      break;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(std::min(deadline, wakeUpAt()) - now);
    pollfd request = pollRequest();
    poll(&request, 1, static_cast<int>(std::clamp<int64_t>(left.count(), 0, 1000)));
  }
  return condition();
}

Reply BusLink::callAndWait(const MethodCall& call, TimePoint deadline) {
  Reply reply;
  bool answered = false;
  const auto pending = send(call, [&](Reply r) {
    reply = std::move(r);
    answered = true;
  });
  if (pending) {
    waitUntil([&] { return answered; }, deadline);
  }
  return reply;
}

AccessibilityError BusLink::setBooleanAndWait(const char* busName, const char* path, const char* interface,
                                              const char* property, bool value, TimePoint deadline) {
  sd_bus_message* raw = nullptr;
  sd_bus* bus = d_->bus.get();
  if (sd_bus_message_new_method_call(bus, &raw, busName, path, "org.freedesktop.DBus.Properties", "Set") < 0) {
    return AccessibilityError::failure;
  }
  const MessagePointer message(raw);
  if (sd_bus_message_append(raw, "ssv", interface, property, "b", static_cast<int>(value)) < 0) {
    return AccessibilityError::failure;
  }
  const MethodCall call{busName, path, interface, "Set", {}, nullptr};
  Pending pending;
  Reply reply;
  bool answered = false;
  pending.call = &call;
  pending.onReply = [&](Reply r) {
    reply = std::move(r);
    answered = true;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus, &slot, raw, onAnswer, &pending, UINT64_MAX) < 0) {
    return AccessibilityError::failure;
  }
  pending.slot.reset(slot);
  waitUntil([&] { return answered; }, deadline);
  return reply.error;
}

AccessibilityError meaningOfError(const MethodCall& call, const char* errorName) {
  using enum AccessibilityError;
  const std::string_view name = errorName ? errorName : "";
  const auto isOneOf = [&](const auto& names) { return std::find(names.begin(), names.end(), name) != names.end(); };
  constexpr std::string_view kPrefix = "org.freedesktop.DBus.Error.";
  static const std::array<std::string, 6> kGone{
      std::string(kPrefix) + "UnknownObject",  std::string(kPrefix) + "ServiceUnknown",
      std::string(kPrefix) + "NameHasNoOwner", std::string(kPrefix) + "NoReply",
      std::string(kPrefix) + "Disconnected",   "System.Error.ECONNRESET"};
  static const std::array<std::string, 5> kUnsupported{
      std::string(kPrefix) + "UnknownMethod", std::string(kPrefix) + "UnknownInterface",
      std::string(kPrefix) + "UnknownProperty", std::string(kPrefix) + "NotSupported",
      std::string(kPrefix) + "InvalidArgs"};
  if (isOneOf(kGone)) {
    return invalidElement;
  }
  if (isOneOf(kUnsupported)) {
    // Every element has the Accessible interface; where even that is unknown the object has gone (GTK 4 says so).
    return std::string_view(call.interface) == "org.a11y.atspi.Accessible" ? invalidElement : attributeUnsupported;
  }
  const bool late = name == std::string(kPrefix) + "Timeout" || name == std::string(kPrefix) + "TimedOut";
  return late ? cannotComplete : failure;
}

}  // namespace jumplark::atspi
