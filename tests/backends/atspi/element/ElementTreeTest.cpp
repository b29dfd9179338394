#include "backends/linux/atspi/element/ElementTree.h"

#include <gtest/gtest.h>

namespace jumplark::atspi {
namespace {

ElementRef ref(const std::string& id) {
  return makeRef(":1.7", "/" + id);
}

void add(ElementDraft& elements, const std::string& id, std::initializer_list<const char*> children) {
  ElementFacts facts;
  facts.ref = ref(id);
  for (const char* child : children) {
    facts.children.push_back(ref(child));
  }
  elements.add(std::move(facts));
}

/// "element<parent" for all, in their order.
std::string shapeOf(const ElementTree& tree) {
  const auto id = [&](int index) { return index < 0 ? "" : handleOf(tree[index].facts->ref)->path().substr(1); };
  std::string shape;
  for (int i = 0; i < tree.size(); ++i) {
    EXPECT_LT(tree[i].parent, i);
    EXPECT_EQ(tree.find(tree[i].facts->ref), i);
    shape += (shape.empty() ? "" : " ") + id(i) + "<" + id(tree[i].parent);
  }
  return shape;
}

TEST(ElementTree, holdsEachElementOnceBelowTheFirstThatNamesItAndTheRestBehindAllElse) {
  ElementDraft elements;
  add(elements, "root", {"a", "b"});
  add(elements, "a", {"c", "root", "missing"});
  add(elements, "b", {"c", "a", "d"});
  add(elements, "c", {"b"});
  add(elements, "d", {});
  add(elements, "apart", {});
  elements.find(ref("apart"))->parent = ref("a");
  const ElementTree tree(elements, ref("root"));
  EXPECT_EQ(shapeOf(tree), "root< a<root c<a b<c d<b apart<a");
  EXPECT_EQ(tree.inDocumentOrder(), 5U);
  EXPECT_EQ(tree.find(ref("missing")), ElementTree::kNone);
}

}  // namespace
}  // namespace jumplark::atspi
