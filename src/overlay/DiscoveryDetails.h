#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace jumplark {

class DiscoveryView;
class JLElement;

/// The box over an element and the bubble beside it. Any thread asks, the main thread shows, in the order of asking; of
/// what was asked for the latest holds. Made and destroyed on the main thread.
class DiscoveryDetails : public std::enable_shared_from_this<DiscoveryDetails> {
 public:
  DiscoveryDetails();
  DiscoveryDetails(const DiscoveryDetails&) = delete;
  DiscoveryDetails& operator=(const DiscoveryDetails&) = delete;
  ~DiscoveryDetails();

  /// A number for show(): a request with an earlier one shows nothing any more.
  uint64_t nextRequest() { return ++requests_; }
  /// Reads the element on the calling thread, then shows it; with a translucent blue box over it or without.
  void show(uint64_t request, const std::shared_ptr<JLElement>& element, bool highlight);
  /// On the main thread it is gone on return.
  void hide();

 private:
  /// `action` may refer to this.
  void onMainThread(uint64_t request, std::function<void()> action);
  void perform(uint64_t request, const std::function<void()>& action);
  void hideNow();

  std::atomic<uint64_t> requests_{0};
  std::unique_ptr<DiscoveryView> view_;
  bool popoverShown_ = false;  ///< main thread
};

}  // namespace jumplark
