#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"
#include "platform/AttributeValue.h"
#include "platform/Geometry.h"

struct sd_bus_message;

namespace jumplark::atspi {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

/// Relation type number and its targets.
using RelationSet = std::vector<std::pair<uint32_t, std::vector<ElementRef>>>;
using AttributeMap = std::map<std::string, std::string>;

/// What an application's cache says of one of its elements.
struct CacheItem {
  ElementRef element;
  ElementRef parent;
  int32_t indexInParent = -1;
  int32_t childCount = -1;
  std::vector<std::string> interfaces;
  std::string name;
  uint32_t role = 0;
  std::string description;
  uint64_t states = 0;
};

/// Every shape that a reply is decoded into. A reply of any other shape counts as a failure of its call.
using ReplyValue =
    std::variant<std::monostate, bool, int32_t, uint32_t, uint64_t, double, std::string, ElementRef, Rect,
                 std::vector<ElementRef>, std::vector<std::string>, AttributeMap, RelationSet, std::vector<CacheItem>>;

/// Which elements a collection is asked for: those with all of the states, or none of them, and one of the roles.
struct MatchRule {
  enum class Match : int32_t { all = 1, any = 2, none = 3 };
  uint64_t states = 0;
  Match matchStates = Match::all;
  std::vector<uint32_t> roles;  ///< empty: any
};

using Argument = std::variant<int32_t, uint32_t, bool, std::string, std::vector<std::string>, MatchRule>;

/// Reads a whole reply before anything acts on it; negative when the reply has another shape. `busName` is who
/// answered.
using Decoder = int (*)(sd_bus_message* message, const std::string& busName, ReplyValue& value);

/// One method call to an object of another process.
struct MethodCall {
  std::string busName;
  std::string path;
  const char* interface = "";
  const char* member = "";
  std::vector<Argument> arguments;
  Decoder decode = nullptr;
};

/// A call whose reply is known to hold a T.
template <typename T>
struct TypedCall {
  MethodCall call;
};

struct Reply {
  AccessibilityError error = AccessibilityError::cannotComplete;
  ReplyValue value;
};

/// Runs calls, all of them under way at once.
class CallRunner {
 public:
  virtual ~CallRunner() = default;
  /// One reply a call, in the order of the calls. Returns when all have been answered, or at the deadline with
  /// cannotComplete for the rest. Any thread.
  virtual std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) = 0;

  /// Waits for the replies, as run() gives them; to be called once at most.
  using Wait = std::function<std::vector<Reply>()>;
  /// The same without waiting, where the runner can: other calls may be under way at the same time. Those whose replies
  /// nobody waits for are made nevertheless.
  virtual Wait begin(std::vector<MethodCall> calls, TimePoint deadline) {
    return [replies = run(std::move(calls), deadline)]() mutable { return std::move(replies); };
  }
};

/// The longest text that is taken from a reply, in bytes; what is longer is cut between characters.
inline constexpr size_t kLongestText = 65536;

namespace decoding {
int nothing(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int boolean(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int integer(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int number32(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int text(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int texts(sd_bus_message* message, const std::string& busName, ReplyValue& value);
/// Two 32-bit words, the low one first, as one number.
int stateSet(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int reference(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int references(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int rectangle(sd_bus_message* message, const std::string& busName, ReplyValue& value);
/// The same of four numbers that stand in no structure.
int looseRectangle(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int attributes(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int relations(sd_bus_message* message, const std::string& busName, ReplyValue& value);
/// The first text of every action's three.
int actionNames(sd_bus_message* message, const std::string& busName, ReplyValue& value);
/// a((so)(so)(so)iiassusau), what Cache.GetItems answers since AT-SPI 2.24; older shapes fail.
int cacheItems(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int integerProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int doubleProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int textProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value);
int referenceProperty(sd_bus_message* message, const std::string& busName, ReplyValue& value);
}  // namespace decoding

}  // namespace jumplark::atspi
