#pragma once

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// What was read of one element's text. Offsets count Unicode code points.
struct TextFacts {
  int64_t count = -1;
  int64_t visibleStart = 0;
  int64_t visibleEnd = 0;  ///< exclusive
  int64_t fetchedStart = 0;
  int64_t fetchedEnd = 0;
  std::string fetched;  ///< UTF-8

  bool holds(int64_t start, int64_t end) const { return start >= fetchedStart && end <= fetchedEnd; }
};

using TextMap = std::unordered_map<ElementRef, TextFacts, ElementRefHash>;

/// One element whose text is to be read, and where to look for what shows of it.
struct TextRequest {
  ElementRef element;
  bool multiLine = false;
  bool atOnce = false;          ///< an entry that ends its text itself: a short one needs no question how long it is
  std::optional<Rect> visible;  ///< the part that shows, in the coordinates that its toolkit takes; none: unknown
  TextFacts answer;             ///< count stays -1 when the text could not be read
};

/// `visible`: what shows of the element on the screen, if known; `offset` as extents need it.
TextRequest textRequestOf(const ElementFacts& element, const Toolkit& toolkit, const std::optional<Rect>& visible,
                          Point offset);

/// The longest text that is read whole, and the longest part that is read of a longer one, in code points.
inline constexpr int64_t kShortText = 1000;
inline constexpr int64_t kLongestPart = 16000;

/// Reads the texts of all elements at once: a short one whole, of a longer one what lies between the characters at two
/// corners of its visible part (the whole of a large text costs its application hundreds of times more).
class TextReader {
 public:
  /// Asks how long the texts are, or for what is likely to be the whole of them. The calls are under way until
  /// finish(), and the requests stay where they are.
  void begin(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline);
  void finish(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline);

 private:
  TypedBatch first_;
};

/// Both steps at once.
void readTexts(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline);

}  // namespace jumplark::atspi
