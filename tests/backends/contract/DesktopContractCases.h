#pragma once

#include <gmock/gmock.h>

#include <thread>

#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Workspace.h"

/// What accessibility and workspace promise on every desktop that shows one application with a window that holds a
/// button and a text field. Include once in a program, which says what it is in the name of the instance:
///
///     INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values("recorded"));
namespace jumplark::contract {

using ::testing::Contains;
using ::testing::IsEmpty;

inline constexpr const char* kUnknownName = "AXJumplarkUnknown";
/// A process id that no application has.
inline constexpr int32_t kAbsentPid = 4'000'000;

/// A desktop with the application, on screen, in front and with all of the button visible.
struct ContractDesktop {
  Platform platform;
  int32_t targetPid;
  std::string buttonTitle;  ///< "AXTitle" of the button; no other element has it
  std::shared_ptr<void> owner;
};
/// Another one each time, on what the instance's value names; the program defines it.
ContractDesktop makeContractDesktop(const std::string& backend);

/// The desktop of one case, and ways to look around in it.
class DesktopContract : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    application_ = accessibility().createApplication(desktop_.targetPid);
    window_ = elementOf(application_, "AXFocusedWindow");
    ASSERT_TRUE(window_) << "the application has no focused window";
    elements_ = elementsBelow(window_);
    button_ = find("AXTitle", desktop_.buttonTitle);
    ASSERT_TRUE(button_) << "no element is called " << desktop_.buttonTitle;
    textField_ = find("AXRole", "AXTextField");
    ASSERT_TRUE(textField_) << "the window holds no text field";
  }

  AccessibilityPlatform& accessibility() { return *desktop_.platform.accessibility; }
  Workspace& workspace() { return *desktop_.platform.workspace; }

  /// None when it cannot be read.
  AttributeValue valueOf(const ElementRef& element, const std::string& attribute) {
    return accessibility().copyAttributeValue(element, attribute).value;
  }
  ElementRef elementOf(const ElementRef& element, const std::string& attribute) {
    const AttributeValue value = valueOf(element, attribute);
    return value.element() ? *value.element() : ElementRef();
  }
  std::string textOf(const ElementRef& element, const std::string& attribute) {
    const AttributeValue value = valueOf(element, attribute);
    return value.text() ? *value.text() : std::string();
  }
  std::vector<ElementRef> childrenOf(const ElementRef& element) {
    std::vector<ElementRef> children;
    const AttributeValue value = valueOf(element, "AXChildren");
    for (const AttributeValue& child : value.list() ? *value.list() : AttributeValue::List()) {
      children.push_back(child.element() ? *child.element() : ElementRef());
    }
    return children;
  }
  bool isInside(ElementRef element, const ElementRef& ancestor) {
    for (int steps = 0; element && element != ancestor && steps < 100; ++steps) {
      element = elementOf(element, "AXParent");
    }
    return element == ancestor;
  }

  ContractDesktop desktop_ = makeContractDesktop(GetParam());
  ElementRef application_;
  ElementRef window_;
  ElementRef button_;
  ElementRef textField_;
  std::vector<ElementRef> elements_;  ///< the window and what is below it

 private:
  ElementRef find(const std::string& attribute, const std::string& text) {
    const auto found = std::ranges::find(elements_, text, [&](const auto& e) { return textOf(e, attribute); });
    return found == elements_.end() ? ElementRef() : *found;
  }
  /// Breadth first, each once, the first thousand.
  std::vector<ElementRef> elementsBelow(const ElementRef& root) {
    std::vector<ElementRef> all{root};
    for (size_t i = 0; i < all.size() && all.size() < 1000; ++i) {
      for (const ElementRef& child : childrenOf(ElementRef(all[i]))) {
        if (child && std::ranges::count(all, child) == 0) {
          all.push_back(child);
        }
      }
    }
    return all;
  }
};

TEST_P(DesktopContract, theWorkspaceKnowsTheApplication) {
  const auto running = workspace().runningApplicationWithPid(desktop_.targetPid);
  ASSERT_TRUE(running);
  EXPECT_EQ(running->pid, desktop_.targetPid);
  EXPECT_THAT(workspace().runningApplicationsWithBundleIdentifier(running->bundleIdentifier), Contains(*running));
  const auto frontmost = workspace().frontmostApplication();
  ASSERT_TRUE(frontmost);
  const auto frontToBack = workspace().applicationsFrontToBack();
  EXPECT_EQ(std::count(frontToBack.begin(), frontToBack.end(), *frontmost), 1);
  EXPECT_EQ(std::count(frontToBack.begin(), frontToBack.end(), *running), 1);
}

TEST_P(DesktopContract, anAbsentProcessIsNowhere) {
  EXPECT_FALSE(workspace().runningApplicationWithPid(kAbsentPid));
  EXPECT_FALSE(workspace().activate(kAbsentPid, kActivateIgnoringOtherApps));
  EXPECT_THAT(workspace().runningApplicationsWithBundleIdentifier("org.example.jumplark.absent"), IsEmpty());
  const ElementRef absent = accessibility().createApplication(kAbsentPid);
  ASSERT_TRUE(absent);
  EXPECT_FALSE(accessibility().copyAttributeValue(absent, "AXRole").ok());
  EXPECT_FALSE(accessibility().copyAttributeNames(absent).ok());
  EXPECT_FALSE(accessibility().attributeValueCount(absent, "AXChildren").ok());
  EXPECT_FALSE(accessibility().copyAttributeValues(absent, "AXChildren", 0, 50).ok());
  EXPECT_FALSE(accessibility().copyMultipleAttributeValues(absent, {"AXRole"}).ok());
  EXPECT_FALSE(accessibility().copyElementAtPosition(absent, 10, 10).ok());
  EXPECT_NE(accessibility().performAction(absent, "AXPress"), AccessibilityError::success);
}

TEST_P(DesktopContract, theSameElementIsTheSameReferenceOfItsProcess) {
  EXPECT_EQ(textOf(application_, "AXRole"), "AXApplication");
  EXPECT_EQ(application_, accessibility().createApplication(desktop_.targetPid));
  for (const ElementRef& element : {application_, window_, button_}) {
    const auto pid = accessibility().processIdentifier(element);
    EXPECT_TRUE(pid.ok()) << element.text();
    EXPECT_EQ(pid.value, desktop_.targetPid) << element.text();
  }
  EXPECT_EQ(accessibility().systemWideElement(), accessibility().systemWideElement());
  EXPECT_NE(accessibility().systemWideElement(), application_);
  const ElementRef again = elementOf(application_, "AXFocusedWindow");
  EXPECT_EQ(again, window_);
  EXPECT_EQ(again.hash(), window_.hash());
  EXPECT_EQ(again.text(), window_.text());
  EXPECT_EQ(childrenOf(window_), childrenOf(window_));
  EXPECT_NE(button_, textField_);
}

TEST_P(DesktopContract, listedAttributesAreSupported) {
  for (const ElementRef& element : {application_, window_, button_, textField_}) {
    const auto names = accessibility().copyAttributeNames(element);
    ASSERT_TRUE(names.ok());
    EXPECT_THAT(names.value, Contains("AXRole"));
    for (const std::string& name : names.value) {
      const auto result = accessibility().copyAttributeValue(element, name);
      EXPECT_TRUE(result.ok() || result.error == AccessibilityError::noValue)
          << name << " of " << element.text() << " fails with " << static_cast<int32_t>(result.error);
      EXPECT_FALSE(result.ok() && result.value.isNone()) << name << " is none and yet a success";
    }
  }
}

TEST_P(DesktopContract, anUnknownAttributeIsUnsupported) {
  auto& ax = accessibility();
  EXPECT_EQ(ax.copyAttributeValue(button_, kUnknownName).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.attributeValueCount(button_, kUnknownName).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.copyAttributeValues(button_, kUnknownName, 0, 50).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.copyParameterizedAttributeValue(button_, kUnknownName, Range{0, 1}).error,
            AccessibilityError::parameterizedAttributeUnsupported);
  EXPECT_NE(ax.setAttributeValue(button_, kUnknownName, true), AccessibilityError::success);
  EXPECT_EQ(ax.performAction(button_, kUnknownName), AccessibilityError::actionUnsupported);
  // What is no list has no entries.
  EXPECT_EQ(ax.attributeValueCount(button_, "AXRole").error, AccessibilityError::illegalArgument);
  EXPECT_EQ(ax.copyAttributeValues(button_, "AXRole", 0, 1).error, AccessibilityError::illegalArgument);
}

TEST_P(DesktopContract, severalAttributesComeInOrderWithErrorsInPlace) {
  const std::vector<std::string> names = {"AXRole", kUnknownName, "AXTitle", "AXPosition", "AXSize"};
  const auto all = accessibility().copyMultipleAttributeValues(button_, names);
  ASSERT_TRUE(all.ok());
  ASSERT_EQ(all.value.size(), names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    const auto single = accessibility().copyAttributeValue(button_, names[i]);
    const AttributeValue expected = single.ok() ? single.value : AttributeValue(single.error);
    EXPECT_EQ(all.value[i], expected) << names[i];
  }
  const auto none = accessibility().copyMultipleAttributeValues(button_, {});
  ASSERT_TRUE(none.ok());
  EXPECT_THAT(none.value, IsEmpty());
}

TEST_P(DesktopContract, slicesOfAListFitItsWhole) {
  for (const ElementRef& element : elements_) {
    const auto whole = accessibility().copyAttributeValue(element, "AXChildren");
    if (!whole.ok() || !whole.value.list() || whole.value.list()->empty()) {
      continue;
    }
    const AttributeValue::List& list = *whole.value.list();
    const auto size = static_cast<int64_t>(list.size());
    const auto slice = [&](int64_t index, int64_t count) {
      return accessibility().copyAttributeValues(element, "AXChildren", index, count);
    };
    const auto count = accessibility().attributeValueCount(element, "AXChildren");
    ASSERT_TRUE(count.ok());
    EXPECT_EQ(count.value, size);
    EXPECT_EQ(slice(0, size).value, list);
    EXPECT_EQ(slice(0, size + 50).value, list);
    EXPECT_EQ(slice(size - 1, 50).value, AttributeValue::List{list.back()});
    EXPECT_TRUE(slice(0, 0).ok());
    EXPECT_THAT(slice(0, 0).value, IsEmpty());
    EXPECT_EQ(slice(size + 1, 1).error, AccessibilityError::illegalArgument);
    EXPECT_EQ(slice(-1, 1).error, AccessibilityError::illegalArgument);
  }
}

TEST_P(DesktopContract, theParentOfAChildLeadsBack) {
  EXPECT_EQ(elementOf(window_, "AXParent"), application_);
  for (const ElementRef& element : elements_) {
    for (const ElementRef& child : childrenOf(element)) {
      EXPECT_EQ(elementOf(child, "AXParent"), element) << child.text();
    }
  }
  EXPECT_EQ(elementOf(button_, "AXWindow"), window_);
}

TEST_P(DesktopContract, aHitTestFindsTheButtonAndNothingOutsideAllScreens) {
  const AttributeValue position = valueOf(button_, "AXPosition");
  const AttributeValue size = valueOf(button_, "AXSize");
  ASSERT_TRUE(position.point() && size.size());
  const auto x = static_cast<float>(position.point()->x + size.size()->width / 2);
  const auto y = static_cast<float>(position.point()->y + size.size()->height / 2);
  for (const ElementRef& asked : {accessibility().systemWideElement(), application_}) {
    const auto hit = accessibility().copyElementAtPosition(asked, x, y);
    ASSERT_TRUE(hit.ok()) << asked.text();
    EXPECT_TRUE(isInside(hit.value, button_)) << "found " << hit.value.text();
    EXPECT_EQ(accessibility().copyElementAtPosition(asked, -30000, -30000).error, AccessibilityError::noValue);
  }
}

TEST_P(DesktopContract, snapshotsAndLiveReadsAnswerAlike) {
  std::vector<AttributeValue::List> before;
  const auto differing = [&](AccessibilityPlatform& by) {
    std::string texts;
    for (size_t i = 0; i < elements_.size(); ++i) {
      auto facts = by.copyMultipleAttributeValues(elements_[i], {"AXRole", "AXTitle", "AXPosition", "AXSize"}).value;
      if (before.size() == i) {
        before.push_back(facts);
      }
      // Only a whole window tells that something is no thing to press beside what stands around it, as a field's label.
      if (facts[0] == AttributeValue(std::string("AXGroup")) || facts[0] == AttributeValue(std::string("AXCaption"))) {
        facts[0] = before[i][0];
      }
      texts += facts == before[i] ? "" : elements_[i].text() + " ";
    }
    return texts;
  };
  differing(accessibility());
  accessibility().prepareSnapshot(application_, true);
  EXPECT_EQ(differing(accessibility()), "");
  EXPECT_EQ(differing(*accessibility().live()), "");
  EXPECT_EQ(differing(*accessibility().liveForAction(button_)), "");
  accessibility().endSnapshot();
  EXPECT_EQ(differing(accessibility()), "");
}

TEST_P(DesktopContract, readsMayComeFromSeveralThreads) {
  const auto read = [&] {
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(textOf(button_, "AXTitle"), desktop_.buttonTitle);
      EXPECT_EQ(elementOf(button_, "AXWindow"), window_);
    }
  };
  std::thread other(read);
  read();
  other.join();
}

}  // namespace jumplark::contract
