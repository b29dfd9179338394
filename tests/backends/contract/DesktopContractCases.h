#pragma once

#include <thread>

#include "backends/contract/AccessibilityContract.h"

/// The cases of DesktopContract about accessibility and workspace. Include once in a program.
namespace jumplark::contract {

using ::testing::Contains;
using ::testing::IsEmpty;

inline constexpr const char* kUnknownName = "AXJumplarkUnknown";

TEST_P(DesktopContract, TheWorkspaceKnowsTheApplication) {
  const auto running = workspace().runningApplicationWithPid(desktop().targetPid());
  ASSERT_TRUE(running);
  EXPECT_EQ(running->pid, desktop().targetPid());
  EXPECT_THAT(workspace().runningApplicationsWithBundleIdentifier(running->bundleIdentifier), Contains(*running));
  const auto frontmost = workspace().frontmostApplication();
  ASSERT_TRUE(frontmost);
  const auto frontToBack = workspace().applicationsFrontToBack();
  EXPECT_EQ(std::count(frontToBack.begin(), frontToBack.end(), *frontmost), 1);
  EXPECT_EQ(std::count(frontToBack.begin(), frontToBack.end(), *running), 1);
}

TEST_P(DesktopContract, AnAbsentProcessIsNowhere) {
  const int32_t pid = desktop().absentPid();
  EXPECT_FALSE(workspace().runningApplicationWithPid(pid));
  EXPECT_FALSE(workspace().activate(pid, kActivateIgnoringOtherApps));
  EXPECT_THAT(workspace().runningApplicationsWithBundleIdentifier("org.example.jumplark.absent"), IsEmpty());
  const ElementRef absent = accessibility().createApplication(pid);
  ASSERT_TRUE(absent);
  EXPECT_FALSE(accessibility().copyAttributeValue(absent, "AXRole").ok());
  EXPECT_FALSE(accessibility().copyAttributeNames(absent).ok());
  EXPECT_FALSE(accessibility().attributeValueCount(absent, "AXChildren").ok());
  EXPECT_FALSE(accessibility().copyAttributeValues(absent, "AXChildren", 0, 50).ok());
  EXPECT_FALSE(accessibility().copyMultipleAttributeValues(absent, {"AXRole"}).ok());
  EXPECT_FALSE(accessibility().copyElementAtPosition(absent, 10, 10).ok());
  EXPECT_NE(accessibility().performAction(absent, "AXPress"), AccessibilityError::success);
}

TEST_P(DesktopContract, TheSameElementIsTheSameReferenceOfItsProcess) {
  EXPECT_EQ(textOf(application(), "AXRole"), "AXApplication");
  EXPECT_EQ(application(), accessibility().createApplication(desktop().targetPid()));
  for (const ElementRef& element : {application(), window(), button()}) {
    const auto pid = accessibility().processIdentifier(element);
    EXPECT_TRUE(pid.ok()) << element.text();
    EXPECT_EQ(pid.value, desktop().targetPid()) << element.text();
  }
  EXPECT_EQ(accessibility().systemWideElement(), accessibility().systemWideElement());
  EXPECT_NE(accessibility().systemWideElement(), application());
  const ElementRef again = elementOf(application(), "AXFocusedWindow");
  EXPECT_EQ(again, window());
  EXPECT_EQ(again.hash(), window().hash());
  EXPECT_EQ(again.text(), window().text());
  EXPECT_EQ(childrenOf(window()), childrenOf(window()));
  EXPECT_NE(button(), textField());
}

TEST_P(DesktopContract, ListedAttributesAreSupported) {
  for (const ElementRef& element : {application(), window(), button(), textField()}) {
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

TEST_P(DesktopContract, AnUnknownAttributeIsUnsupported) {
  auto& ax = accessibility();
  EXPECT_EQ(ax.copyAttributeValue(button(), kUnknownName).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.attributeValueCount(button(), kUnknownName).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.copyAttributeValues(button(), kUnknownName, 0, 50).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(ax.copyParameterizedAttributeValue(button(), kUnknownName, Range{0, 1}).error,
            AccessibilityError::parameterizedAttributeUnsupported);
  EXPECT_NE(ax.setAttributeValue(button(), kUnknownName, true), AccessibilityError::success);
  EXPECT_EQ(ax.performAction(button(), kUnknownName), AccessibilityError::actionUnsupported);
  // What is no list has no entries.
  EXPECT_EQ(ax.attributeValueCount(button(), "AXRole").error, AccessibilityError::illegalArgument);
  EXPECT_EQ(ax.copyAttributeValues(button(), "AXRole", 0, 1).error, AccessibilityError::illegalArgument);
}

TEST_P(DesktopContract, SeveralAttributesComeInOrderWithErrorsInPlace) {
  const std::vector<std::string> names = {"AXRole", kUnknownName, "AXTitle", "AXPosition", "AXSize"};
  const auto all = accessibility().copyMultipleAttributeValues(button(), names);
  ASSERT_TRUE(all.ok());
  ASSERT_EQ(all.value.size(), names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    const auto single = accessibility().copyAttributeValue(button(), names[i]);
    const AttributeValue expected = single.ok() ? single.value : AttributeValue(single.error);
    EXPECT_EQ(all.value[i], expected) << names[i];
  }
  const auto none = accessibility().copyMultipleAttributeValues(button(), {});
  ASSERT_TRUE(none.ok());
  EXPECT_THAT(none.value, IsEmpty());
}

TEST_P(DesktopContract, SlicesOfAListFitItsWhole) {
  for (const ElementRef& element : elements()) {
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

TEST_P(DesktopContract, TheParentOfAChildLeadsBack) {
  EXPECT_EQ(elementOf(window(), "AXParent"), application());
  for (const ElementRef& element : elements()) {
    for (const ElementRef& child : childrenOf(element)) {
      EXPECT_EQ(elementOf(child, "AXParent"), element) << child.text();
    }
  }
  EXPECT_EQ(elementOf(button(), "AXWindow"), window());
}

TEST_P(DesktopContract, AHitTestFindsTheButtonAndNothingOutsideAllScreens) {
  const AttributeValue position = valueOf(button(), "AXPosition");
  const AttributeValue size = valueOf(button(), "AXSize");
  ASSERT_TRUE(position.point() && size.size());
  const auto x = static_cast<float>(position.point()->x + size.size()->width / 2);
  const auto y = static_cast<float>(position.point()->y + size.size()->height / 2);
  for (const ElementRef& asked : {accessibility().systemWideElement(), application()}) {
    const auto hit = accessibility().copyElementAtPosition(asked, x, y);
    ASSERT_TRUE(hit.ok()) << asked.text();
    EXPECT_TRUE(isInside(hit.value, button())) << "found " << hit.value.text();
    EXPECT_EQ(accessibility().copyElementAtPosition(asked, -30000, -30000).error, AccessibilityError::noValue);
  }
}

TEST_P(DesktopContract, SnapshotsAndLiveScopesAnswerAlike) {
  const auto facts = [&] {
    std::vector<AttributeValue::List> all;
    for (const ElementRef& element : elements()) {
      all.push_back(
          accessibility().copyMultipleAttributeValues(element, {"AXRole", "AXTitle", "AXPosition", "AXSize"}).value);
    }
    return all;
  };
  const auto before = facts();
  accessibility().prepareSnapshot(application(), true);
  EXPECT_EQ(facts(), before);
  {
    const Token live = accessibility().beginLiveReads();
    EXPECT_EQ(facts(), before);
  }
  accessibility().endSnapshot();
  EXPECT_EQ(facts(), before);
}

TEST_P(DesktopContract, ReadsMayComeFromSeveralThreads) {
  const auto read = [&] {
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(textOf(button(), "AXTitle"), desktop().buttonTitle());
      EXPECT_EQ(elementOf(button(), "AXWindow"), window());
    }
  };
  std::thread other(read);
  read();
  other.join();
}

}  // namespace jumplark::contract
