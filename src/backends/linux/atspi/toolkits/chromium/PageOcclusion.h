#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/reading/WalkSteps.h"

namespace jumplark::atspi {

/// Hides what lies wholly below something else of its page, such as a header that stays while the page scrolls. A
/// browser tells the places of both and not which is above. Whether two parts of a page lie over each other is seen
/// from the places; then the page is asked at one point, of a few such pairs at most.
///
/// The browser passes the question on to the page, answers at first by what it guesses meanwhile, and remembers the
/// page's answer for whoever asks again a little later. An answer that is no longer the guess is the page's; the same
/// one may be either. So nothing is hidden that a busy page has not been heard about, and what the browser would guess
/// anyway is not found out.
class PageOcclusion {
 public:
  /// `offset` is what places that the browser tells need, see Toolkit::originIn.
  PageOcclusion(CallRunner& runner, Point offset, TimePoint deadline)
      : runner_(runner), offset_(offset), deadline_(deadline) {}

  /// Looks at the places, and asks the first question where there is one. `all` is what a walk has read, parents before
  /// their children.
  void begin(const std::vector<std::shared_ptr<ElementFacts>>& all);
  /// Waits for the answers, and hides what they tell.
  void finish();

 private:
  struct Node {
    ElementFacts* element = nullptr;
    int parent = -1;
    int document = -1;  ///< -1 outside of pages and in a page within a page
    Clip clip;
    Rect part;  ///< of it that the page's window shows
  };
  /// Elements that lie within the bar and are above or below it together.
  struct Group {
    int bar = -1;
    int side = -1;  ///< what holds them: it, or its parent, holds the bar too
    std::vector<int> members;
  };
  struct Question {
    const AtspiHandle* document = nullptr;
    Point point;
  };

  void collect(const std::vector<std::shared_ptr<ElementFacts>>& all);
  void findGroups();
  Group& groupOf(int bar, int side);
  bool isWithin(int node, int above) const;
  bool isBar(const Node& node) const;
  int sideOf(int node, int bar) const;
  bool isAnswered(const Group& group) const;
  Question questionFor(const Group& group) const;
  CallRunner::Wait ask(const Question& question);
  /// The node that an answer names, when it belongs to the bar; null otherwise.
  const Node* partOfBar(const Group& group, const std::vector<Reply>& answer) const;
  void hideBelow(const Group& group, const Rect& cover);
  /// Makes the browser remember another place, so that it guesses again the next time.
  void askElsewhere();

  CallRunner& runner_;
  const Point offset_;
  const TimePoint deadline_;
  std::vector<Node> nodes_;
  std::vector<Group> groups_;
  std::vector<Group> covered_;
  CallRunner::Wait guess_;  ///< of the first group's question
  TimePoint askedAt_;
};

}  // namespace jumplark::atspi
