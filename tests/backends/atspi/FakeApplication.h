#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "backends/atspi/PrivateBus.h"
#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// What an element of a scripted application says of itself. Elements are named by the last part of their object path.
struct FakeElement {
  uint32_t role = 39;
  uint64_t states = (1ULL << state::showing) | (1ULL << state::visible) | (1ULL << state::enabled);
  std::string name;
  std::string description;
  Rect rect{0, 0, 10, 10};
  std::vector<std::string> children;
  std::string parent = "root";
  std::vector<std::string> interfaces{"Component"};
  std::map<std::string, std::string> attributes;
  std::vector<std::string> labelFor;
  std::vector<std::string> labelledBy;
  std::string text;
  double value = 0;
  int32_t columns = 0;  ///< a table: its children are the cells, row by row
  int32_t rowHeight = 20;
  int32_t columnWidth = 0;  ///< what a point hits does not depend on its distance from the left edge where it is 0
};

/// Replies with an array whose entries `append` adds.
bool replyArray(sd_bus_message* message, const char* type, const std::function<void(sd_bus_message*)>& append);

/// A scripted application on a private bus. Its root has the children of the element "root".
class FakeApplication {
 public:
  FakeApplication(const PrivateBus& bus, std::string toolkit = "Qt", std::string version = "6.4.2");

  /// Adds or replaces an element; before anything is read, or while nothing is under way.
  FakeElement& set(const std::string& id, FakeElement element);
  /// Adds an element at the end of its parent's children.
  FakeElement& add(const std::string& parent, const std::string& id, FakeElement element);
  void remove(const std::string& id);
  /// The elements that the application's cache holds; until then it has none.
  void cache(std::vector<std::string> ids);
  /// Called, on the application's thread, before each answer.
  void beforeEachAnswer(std::function<void(const std::string& id, const std::string& member)> callback);

  /// Asked first, on the application's thread, to answer a message itself, and to tell whether it did.
  using Answer = std::function<bool(sd_bus_message* message, const std::string& id, const std::string& member)>;
  void answerInstead(Answer answer);

  /// The address of its own socket, which it tells whoever asks; until then it has none.
  void tellSocket(const std::string& address);
  /// Answers as the application does, on any thread.
  FakePeer::Handler handler() {
    return [this](sd_bus_message* message) { return answer(message); };
  }

  ElementRef ref(const std::string& id) const;
  ElementRef root() const { return ref("root"); }
  FakePeer& peer() { return *peer_; }
  /// "Interface.Member id" of every call so far.
  bool wasAsked(const std::string& call) const;
  size_t timesAsked(const std::string& call) const;
  /// What was asked of interfaces that an element does not have, as above: programs of ATK write a complaint about
  /// each.
  std::multiset<std::string> complaints() const;

 private:
  bool answer(sd_bus_message* message);
  bool answerCache(sd_bus_message* message) const;
  bool answerAccessible(sd_bus_message* message, const std::string& member, const FakeElement& element);
  bool answerProperty(sd_bus_message* message, const FakeElement& element);
  bool answerText(sd_bus_message* message, const std::string& member, const FakeElement& element);
  bool answerPlace(sd_bus_message* message, const std::string& member, const FakeElement& element);
  bool answerTable(sd_bus_message* message, const std::string& member, const FakeElement& element);
  int replyReference(sd_bus_message* message, const std::string& id) const;
  /// The null path for no id.
  static std::string pathOf(const std::string& id);

  std::string toolkit_;
  std::string version_;
  mutable std::mutex mutex_;
  std::map<std::string, FakeElement> elements_;
  std::optional<std::vector<std::string>> cached_;
  std::string socket_;
  std::multiset<std::string> asked_;
  std::multiset<std::string> complaints_;
  std::function<void(const std::string&, const std::string&)> before_;
  Answer instead_;
  std::unique_ptr<FakePeer> peer_;
};

/// The daemons of an accessible desktop: tells the address of the accessibility bus (the same private bus) and lists
/// the applications.
class FakeDesktop {
 public:
  explicit FakeDesktop(const PrivateBus& bus);
  void list(const FakeApplication& application);

  bool accessibilitySwitchedOn() const { return switchedOn_; }
  FakePeer& registry() { return *registry_; }

 private:
  bool answerBus(sd_bus_message* message);
  bool answerRegistry(sd_bus_message* message);

  std::string address_;
  std::atomic<bool> switchedOn_{false};
  std::mutex mutex_;
  std::vector<std::string> applications_;
  std::unique_ptr<FakePeer> launcher_;
  std::unique_ptr<FakePeer> registry_;
};

}  // namespace jumplark::atspi
