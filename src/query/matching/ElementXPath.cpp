#include "query/matching/ElementXPath.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <exception>
#include <map>
#include <memory>
#include <string_view>

#include "query/matching/TextPattern.h"
#include "query/text/Utf.h"
#include "tree/JLElementTree.h"
#include "tree/XMLElement.h"

namespace jumplark {

namespace {

struct FreeContext {
  void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
struct FreeObject {
  void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
using Object = std::unique_ptr<xmlXPathObject, FreeObject>;

/// What one evaluation keeps: its patterns, compiled once each, and the first error.
struct Evaluation {
  MatchBudget budget;
  std::map<std::string, std::unique_ptr<TextPattern>, std::less<>> patterns;
  std::string error;

  /// Null for an invalid pattern or an unknown flag.
  TextPattern* pattern(std::string_view text, std::string_view flags) {
    std::string key(flags);
    key += '/';
    key += text;
    auto& entry = patterns[key];
    if (!entry) {
      const auto sensitivity = flags == "i" ? TextPattern::Case::insensitive : TextPattern::Case::sensitive;
      entry = std::make_unique<TextPattern>(toUTF16(text), sensitivity, budget);
    }
    return entry->isValid() && (flags.empty() || flags == "i") ? entry.get() : nullptr;
  }
};

std::string stringOf(xmlXPathObject* object) {
  const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlXPathCastToString(object), xmlFree);
  return text ? reinterpret_cast<const char*>(text.get()) : "";
}

/// The text of a set of one attribute, without a copy; none for any other value.
std::optional<std::string_view> attributeText(const xmlXPathObject& object) {
  if (object.type != XPATH_NODESET) {
    return std::nullopt;
  }
  const xmlNodeSet* nodes = object.nodesetval;
  if (nodes == nullptr || nodes->nodeNr == 0) {
    return std::string_view();
  }
  if (nodes->nodeNr != 1 || nodes->nodeTab[0]->type != XML_ATTRIBUTE_NODE) {
    return std::nullopt;
  }
  return xml::valueOf(reinterpret_cast<const xmlAttr*>(nodes->nodeTab[0]));
}

void evaluateMatches(xmlXPathParserContext* parser, int argumentCount) {
  if (argumentCount != 2 && argumentCount != 3) {
    xmlXPathErr(parser, XPATH_INVALID_ARITY);
    return;
  }
  const Object flags(argumentCount == 3 ? valuePop(parser) : nullptr);
  const Object pattern(valuePop(parser));
  const Object input(valuePop(parser));
  auto& evaluation = *static_cast<Evaluation*>(parser->context->userData);
  TextPattern* compiled =
      pattern && input ? evaluation.pattern(stringOf(pattern.get()), flags ? stringOf(flags.get()) : "") : nullptr;
  if (compiled == nullptr) {
    xmlXPathErr(parser, XPATH_EXPR_ERROR);
    return;
  }
  const auto attribute = attributeText(*input);
  const std::u16string text = attribute ? toUTF16(*attribute) : toUTF16(stringOf(input.get()));
  valuePush(parser, xmlXPathNewBoolean(compiled->matches(text) ? 1 : 0));
}

void matchesFunction(xmlXPathParserContext* parser, int argumentCount) {
  try {
    evaluateMatches(parser, argumentCount);
  } catch (const std::exception&) {
    xmlXPathErr(parser, XPATH_MEMORY_ERROR);
  }
}

/// The library's error, a const one since 2.12.
template <typename Error>
void noteError(void* evaluation, Error* error) {
  auto& note = static_cast<Evaluation*>(evaluation)->error;
  if (note.empty() && error != nullptr) {
    // Errors of XPath come with a place, but without a text.
    note = "the expression or a pattern in it is wrong near character " + std::to_string(error->int1);
  }
}

std::vector<JLElementNode*> elementNodes(const xmlNodeSet* nodes) {
  std::vector<JLElementNode*> result;
  for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i) {
    const xmlNode* node = nodes->nodeTab[i];
    if (node->type == XML_ELEMENT_NODE && node->_private != nullptr) {
      result.push_back(JLElementNode::fromXML(node));
    }
  }
  return result;
}

}  // namespace

std::optional<std::vector<JLElementNode*>> ElementXPath::nodesForXPath(const JLElementTree& tree,
                                                                       const std::string& expression,
                                                                       std::string* error) {
  Evaluation evaluation;
  const std::unique_ptr<xmlXPathContext, FreeContext> context(xmlXPathNewContext(tree.document()));
  if (!context) {
    return std::nullopt;
  }
  context->userData = &evaluation;
  context->error = &noteError;
  xmlXPathContextSetCache(context.get(), 1, -1, 0);
  xmlXPathRegisterFunc(context.get(), reinterpret_cast<const xmlChar*>("matches"), &matchesFunction);
  const Object result(xmlXPathEval(xml::chars(expression), context.get()));
  if (!result || result->type != XPATH_NODESET) {
    if (error != nullptr) {
      *error = evaluation.error.empty() ? "the expression selects no nodes" : evaluation.error;
    }
    return std::nullopt;
  }
  return elementNodes(result->nodesetval);
}

}  // namespace jumplark
