#pragma once

#include <mutex>
#include <set>
#include <type_traits>

#include "backends/atspi/support/PrivateBus.h"
#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

inline constexpr uint64_t bit(int number) {
  return 1ULL << static_cast<unsigned>(number);
}
inline constexpr uint64_t kShown = bit(state::showing) | bit(state::visible) | bit(state::enabled);

/// What an element of a scripted application says of itself. Elements are named by the last part of their object path.
struct FakeElement {
  uint32_t role = role::panel;
  uint64_t states = kShown;
  std::string name;  ///< like all texts sent as it is, be it UTF-8 or not
  std::string description;
  Rect rect{0, 0, 10, 10};
  std::vector<std::string> children;
  std::string parent = "root";
  std::vector<std::string> interfaces{"Component"};
  std::map<std::string, std::string> attributes;
  std::vector<std::string> labelFor;
  std::vector<std::string> labelledBy;
  std::string text;
  std::pair<int32_t, int32_t> visibleText{0, -1};  ///< offsets of the characters at its corners
  double value = 0;
  std::vector<std::string> actions;
  std::string keys;  ///< of its action; told with that only where they are several

  /// Gives it an interface more.
  FakeElement& with(const std::string& interface) {
    interfaces.push_back(interface);
    return *this;
  }
  /// Gives it states more.
  FakeElement& being(std::initializer_list<int> more) {
    for (const int state : more) {
      states |= bit(state);
    }
    return *this;
  }
  /// Gives it a text.
  FakeElement& saying(std::string content) {
    text = std::move(content);
    return with("Text");
  }
};

/// A scripted application on a private bus. Its root has the children of the element "root".
class FakeApplication {
 public:
  FakeApplication(const PrivateBus& bus, std::string toolkit = "Qt", std::string version = "6.4.2");
  FakeApplication(const FakeApplication&) = delete;
  FakeApplication& operator=(const FakeApplication&) = delete;

  /// An element, made if it is not there; to be changed before anything is read, or while nothing is under way.
  FakeElement& at(const std::string& id) {
    return locked([&]() -> FakeElement& { return elements_[id]; });
  }
  /// Adds an element at the end of its parent's children.
  FakeElement& add(const std::string& parent, const std::string& id, FakeElement element);
  void remove(const std::string& id) {
    locked([&] { return elements_.erase(id); });
  }
  bool hasElement(const std::string& id) const {
    return locked([&] { return elements_.contains(id); });
  }
  /// The elements that the application's cache holds; until then it has none.
  void cache(const std::vector<std::string>& ids) {
    locked([&] { return cached_ = ids; });
  }

  /// Asked first, on the application's thread, to answer a message itself, and to tell whether it did.
  using Answer = std::function<bool(sd_bus_message* message, const std::string& id, const std::string& member)>;
  void answerInstead(const Answer& answer) {
    locked([&] { return instead_ = answer; });
  }

  /// From now on it has a socket of its own, which it tells whoever asks; it serves one connection.
  void openSocket();

  ElementRef ref(const std::string& id) const;
  ElementRef root() const { return ref("root"); }
  FakePeer& peer() { return *peer_; }
  /// "Interface.Member id" of every call so far.
  bool wasAsked(const std::string& call) const { return timesAsked(call) > 0; }
  size_t timesAsked(const std::string& call) const {
    return locked([&] { return asked_.count(call); });
  }
  /// "INDEX id" of every action that was to be done.
  std::vector<std::string> done() const {
    return locked([this] { return done_; });
  }
  /// What was asked of interfaces that an element does not have, as above: programs of ATK write a complaint about
  /// each.
  std::multiset<std::string> complaints() const {
    return locked([this] { return complaints_; });
  }

  struct Asked;

 private:
  template <typename Doing>
  std::invoke_result_t<Doing> locked(Doing doing) const {
    const std::lock_guard lock(mutex_);
    return doing();
  }
  bool answer(sd_bus_message* message);
  bool answerProperty(sd_bus_message* question, const std::string& name, const FakeElement& element);
  void appendCache(sd_bus_message* answer, const std::vector<std::string>& ids);

  std::string toolkit_;
  std::string version_;
  mutable std::mutex mutex_;
  std::map<std::string, FakeElement> elements_;
  std::optional<std::vector<std::string>> cached_;
  std::multiset<std::string> asked_;
  std::multiset<std::string> complaints_;
  std::vector<std::string> done_;
  Answer instead_;
  testing::TemporaryFolder folder_;
  std::string socket_;
  std::unique_ptr<FakePeer> peer_;
  std::unique_ptr<FakePeer> own_;
};

/// The daemons of an accessible desktop: tells the address of the accessibility bus (the same private bus) and lists
/// the applications.
class FakeDesktop {
 public:
  explicit FakeDesktop(const PrivateBus& bus);
  void list(const FakeApplication& application) {
    const std::lock_guard lock(mutex_);
    applications_.push_back(application.root());
  }
  bool accessibilitySwitchedOn() const { return switchedOn_; }

 private:
  bool answer(sd_bus_message* message);

  std::string address_;
  std::atomic<bool> switchedOn_{false};
  std::mutex mutex_;
  std::vector<ElementRef> applications_;
  std::unique_ptr<FakePeer> launcher_;
  std::unique_ptr<FakePeer> registry_;
};

}  // namespace jumplark::atspi
