#include "cli/NamedApplication.h"

#include <fmt/core.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "cli/CommandFailure.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "query/text/TextFolding.h"
#include "query/text/Utf.h"

namespace jumplark::cli {
namespace {

/// How well a name fits, the worst first.
enum class Fit { none, partOfItsProgram, part, beginningOfItsProgram, beginning, wholeOfItsProgram, whole };

std::u16string folded(const std::string& text) {
  std::u16string result = lowercased(foldDiacritics(toUTF16(text)));
  // A name may go on behind what was typed.
  std::replace(result.begin(), result.end(), u'ς', u'σ');
  return result;
}

/// `whole`, `beginning`, `part` or `none`.
Fit fitOf(const std::string& name, std::u16string_view wanted) {
  const std::u16string known = folded(name);
  const std::u16string_view lastPart = std::u16string_view(known).substr(known.rfind(u'.') + 1);
  if (known == wanted) {
    return Fit::whole;
  }
  if (lastPart == wanted || known.starts_with(wanted)) {
    return Fit::beginning;
  }
  return known.find(wanted) != std::u16string::npos ? Fit::part : Fit::none;
}

Fit bestFit(const std::vector<std::string>& names, std::u16string_view wanted) {
  Fit best = Fit::none;
  for (const std::string& name : names) {
    best = std::max(best, fitOf(name, wanted));
  }
  return best;
}

Fit ofItsProgram(Fit fit) {
  return fit == Fit::none ? Fit::none : static_cast<Fit>(static_cast<int>(fit) - 1);
}

struct Candidate {
  RunningApplication application;
  Fit fit;
};

/// What the application calls itself on the accessibility bus; empty while it does not answer.
std::string titleOf(const RunningApplication& application) {
  AccessibilityPlatform& accessibility = *Platform::current().accessibility;
  const auto title = accessibility.copyAttributeValue(accessibility.createApplication(application.pid), "AXTitle");
  const std::string* text = title.ok() ? title.value.text() : nullptr;
  return text ? *text : std::string();
}

std::string namesOf(const std::vector<Candidate>& candidates) {
  std::string names;
  for (const Candidate& candidate : candidates) {
    const RunningApplication& application = candidate.application;
    const std::string& known = application.name.empty() ? application.bundleIdentifier : application.name;
    names += (names.empty() ? "" : ", ") + (known.empty() ? fmt::format("--pid {}", application.pid) : known);
  }
  return names;
}

}  // namespace

RunningApplication applicationNamed(const std::string& name) {
  Workspace& workspace = *Platform::current().workspace;
  const std::u16string wanted = folded(name);
  std::vector<Candidate> candidates;
  for (const RunningApplication& application : workspace.applicationsFrontToBack()) {
    const ApplicationNames names = workspace.namesOf(application);
    candidates.push_back(
        {application, std::max(bestFit(names.own, wanted), ofItsProgram(bestFit(names.ofItsProgram, wanted)))});
  }
  const auto best = [&] { return std::ranges::max_element(candidates, {}, &Candidate::fit); };
  // Applications are asked only where what is known without them leaves room for a better fit.
  if (!candidates.empty() && best()->fit != Fit::whole) {
    for (Candidate& candidate : candidates) {
      candidate.fit = std::max(candidate.fit, fitOf(titleOf(candidate.application), wanted));
    }
  }
  if (!candidates.empty() && !wanted.empty() && best()->fit != Fit::none) {
    return best()->application;
  }
  throw CommandFailure(
      ExitStatus::outOfReach,
      candidates.empty()
          ? localizedFormat("No application named '{}' has a window here; there is none at all.", name)
          : localizedFormat("No application named '{}' has a window here; there is: {}.", name, namesOf(candidates)));
}

}  // namespace jumplark::cli
