#pragma once

#include "tree/JLElementEnumerator.h"

/// The enumerators of single roles: what is worth collecting of an application, a menu bar, a list, a link.
namespace jumplark {

/// The focused window and the menu bar only; other windows are never collected.
class JLApplicationEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// The menu bar's items without their menus, then the menu extras.
class JLMenuBarEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// Status items that any process put into the menu bar, found by hit tests from its right end leftwards and added in a
/// "MenuExtras" group below the node, also when there are none. Four misses anywhere end the walk.
class JLMenuExtrasEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// All children, whatever the options: radio groups offer no useful list of visible ones.
class JLRadioGroupEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// The visible rows, or all.
class JLOutlineEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// The visible rows, or all.
class JLTableEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

/// Nothing below a link: its own texts say it all.
class JLLinkEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;
};

}  // namespace jumplark
