#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::testing {
namespace {

using Attributes = JLElementNode::Attributes;

/// A desktop with one element whose title is given as JSON text.
std::string desktopWithTitle(const std::string& title) {
  return R"({"elements":{"e":{"attributes":{"AXRole":"AXButton","AXTitle":)" + title + "}}}}";
}

TEST(JLElementNode, addsVariantsOnlyWhereTheyDiffer) {
  const std::pair<std::string, Attributes> cases[] = {
      {R"("OK")", {{"Title", "OK"}}},
      {R"("Résumé")", {{"Title", "Résumé"}, {"Title_Plain", "Resume"}}},
      {R"("a~b")", {{"Title", "a~b"}}},
      {R"("Save as…")", {{"Title", "Save as…"}, {"Title_Latin", "Save as"}}},
      {R"("Файл")", {{"Title", "Файл"}, {"Title_Latin", "Fajl"}}},
      {R"("Щука")", {{"Title", "Щука"}, {"Title_Latin", "Ŝuka"}, {"Title_Plain", "Suka"}}},
      {R"("")", {{"Title", ""}}},
      {R"(3.0)", {{"Title", "3"}}},
      {R"(true)", {{"Title", "1"}}},
      {R"("<&\"'>")", {{"Title", "<&\"'>"}}},
      {R"("a\u0001b\u0000c")", {{"Title", "a\uFFFDb\uFFFDc"}, {"Title_Latin", "a b c"}}},
  };
  for (const auto& [title, expected] : cases) {
    RecordedFixture desktop(desktopWithTitle(title));
    const auto tree = JLElementTree::tree();
    const JLElementNode* node = JLElementNode::nodeWithJLElement(*tree, desktop.element("e"));
    EXPECT_EQ(node->textDictionary(), expected) << title;
  }
}

TEST(JLElementNode, titleElementGivesASecondText) {
  RecordedFixture desktop(DesktopText::of(R"(
    label AXStaticText AXValue="Name:"
    field AXTextField 1,2/3,4 AXSubrole="AXMyAAXX" AXValue="Ada" AXTitleUIElement=@label
    plain AXGroup)",
                                          R"("screens":[[0,0,100,100]],)"));
  const auto tree = JLElementTree::tree();
  JLElementNode* field = JLElementNode::nodeWithJLElement(*tree, desktop.element("field"));
  JLElementNode* label = JLElementNode::nodeWithJLElement(*tree, desktop.element("label"));
  JLElementNode* plain = JLElementNode::nodeWithJLElement(*tree, desktop.element("plain"));
  EXPECT_EQ(field->description(), "<Element Role=\"TextField\" Subrole=\"MyAX\" Hash=\"" +
                                      std::to_string(fnv1a64("field")) +
                                      "\">\n  <Text Value=\"Ada\"/>\n  <Text Value=\"Name:\"/>\n</Element>");
  EXPECT_EQ(field->titleNode(), nullptr) << "not in the document yet";
  tree->addChild(tree->rootElement(), field);
  tree->addChild(tree->rootElement(), label);
  EXPECT_EQ(field->titleNode(), label);
  EXPECT_TRUE(tree->debugDescription().starts_with("<Root>\n  <Element Role=\"TextField\""));
  EXPECT_EQ(*field, *JLElementNode::nodeWithJLElement(*tree, desktop.element("field")));
  EXPECT_FALSE(*field == *label);
  EXPECT_EQ(field->bounds(), (Rect{1, 94, 3, 4}));
  EXPECT_EQ(plain->textNode(), nullptr);
  field->setAttribute("Subrole", "second");
  EXPECT_EQ(field->attribute("Subrole"), "second");
  EXPECT_EQ(JLElementNode::nodeWithJLElement(*tree, nullptr), nullptr);
}

TEST(JLElementTree, aNodeHandleKeepsTheDocumentAlive) {
  RecordedFixture desktop(desktopWithTitle(R"("kept")"));
  std::shared_ptr<JLElementNode> kept;
  {
    const auto tree = JLElementTree::tree();
    JLElementNode* node = JLElementNode::nodeWithJLElement(*tree, desktop.element("e"));
    tree->addChild(tree->rootElement(), node);
    kept = tree->handle(node);
  }
  EXPECT_EQ(kept->textDictionary().front().second, "kept");
}

}  // namespace
}  // namespace jumplark::testing
