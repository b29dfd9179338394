#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Workspace.h"

/// What accessibility and workspace promise on every desktop that shows one application with a window
/// that holds a button and a text field. A backend derives ContractDesktop and instantiates the suite:
///
///     INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract,
///                              testing::Values(ContractDesktopKind{"recorded", &makeRecordedDesktop}));
///
/// The cases are in DesktopContractCases.h, which the same file includes.
namespace jumplark::contract {

/// A desktop with the application, on screen, in front and with all of the button visible.
class ContractDesktop {
 public:
  virtual ~ContractDesktop() = default;

  virtual Platform platform() = 0;
  virtual int32_t targetPid() = 0;
  /// "AXTitle" of the button; no other element has it.
  virtual std::string buttonTitle() = 0;
  /// A process id that no application has.
  virtual int32_t absentPid() = 0;
};

/// A kind of desktop, by name.
struct ContractDesktopKind {
  const char* name;
  std::unique_ptr<ContractDesktop> (*make)();
};
inline void PrintTo(const ContractDesktopKind& kind, std::ostream* out) {
  *out << kind.name;
}

/// The desktop of one case, and ways to look around in it.
class DesktopContract : public ::testing::TestWithParam<ContractDesktopKind> {
 protected:
  void SetUp() override {
    desktop_ = GetParam().make();
    ASSERT_NE(desktop_, nullptr);
    platform_ = desktop_->platform();
    application_ = accessibility().createApplication(desktop_->targetPid());
    window_ = elementOf(application_, "AXFocusedWindow");
    ASSERT_TRUE(window_) << "the application has no focused window";
    elements_ = elementsBelow(window_);
    button_ = find([&](const ElementRef& e) { return textOf(e, "AXTitle") == desktop_->buttonTitle(); });
    ASSERT_TRUE(button_) << "no element is called " << desktop_->buttonTitle();
    textField_ = find([&](const ElementRef& e) { return textOf(e, "AXRole") == "AXTextField"; });
    ASSERT_TRUE(textField_) << "the window holds no text field";
  }

  ContractDesktop& desktop() { return *desktop_; }
  AccessibilityPlatform& accessibility() { return *platform_.accessibility; }
  Workspace& workspace() { return *platform_.workspace; }

  ElementRef application() const { return application_; }
  ElementRef window() const { return window_; }
  ElementRef button() const { return button_; }
  ElementRef textField() const { return textField_; }
  /// The window and what is below it.
  const std::vector<ElementRef>& elements() const { return elements_; }

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

 private:
  ElementRef find(const std::function<bool(const ElementRef&)>& fits) const {
    const auto found = std::find_if(elements_.begin(), elements_.end(), fits);
    return found == elements_.end() ? ElementRef() : *found;
  }
  /// Breadth first, each once, the first thousand.
  std::vector<ElementRef> elementsBelow(const ElementRef& root) {
    std::vector<ElementRef> all{root};
    for (size_t i = 0; i < all.size() && all.size() < 1000; ++i) {
      for (const ElementRef& child : childrenOf(ElementRef(all[i]))) {
        if (child && std::find(all.begin(), all.end(), child) == all.end()) {
          all.push_back(child);
        }
      }
    }
    return all;
  }

  std::unique_ptr<ContractDesktop> desktop_;
  Platform platform_;
  ElementRef application_;
  ElementRef window_;
  ElementRef button_;
  ElementRef textField_;
  std::vector<ElementRef> elements_;
};

}  // namespace jumplark::contract
