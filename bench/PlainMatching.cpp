#include "PlainMatching.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

#include "tree/JLElementTree.h"

namespace jumplark::bench {
namespace {

const xmlChar* chars(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

icu::UnicodeString popText(xmlXPathParserContext* parser) {
  const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlXPathPopString(parser), xmlFree);
  return icu::UnicodeString::fromUTF8(text ? reinterpret_cast<const char*>(text.get()) : "");
}

void matchesFunction(xmlXPathParserContext* parser, int argumentCount) {
  const icu::UnicodeString flags = argumentCount == 3 ? popText(parser) : icu::UnicodeString();
  const icu::UnicodeString pattern = popText(parser);
  const icu::UnicodeString input = popText(parser);
  UErrorCode status = U_ZERO_ERROR;
  icu::RegexMatcher matcher(pattern, flags == u"i" ? UREGEX_CASE_INSENSITIVE : 0, status);
  if (U_FAILURE(status)) {
    xmlXPathErr(parser, XPATH_EXPR_ERROR);
    return;
  }
  matcher.reset(input);
  valuePush(parser, xmlXPathNewBoolean(matcher.find() ? 1 : 0));
}

/// The library's error, a const one since 2.12.
template <typename Error>
void ignoreError(void* /*context*/, Error* /*error*/) {}

}  // namespace

std::optional<std::vector<JLElementNode*>> nodesForXPath(const JLElementTree& tree, const std::string& expression) {
  const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(xmlXPathNewContext(tree.document()),
                                                                                 &xmlXPathFreeContext);
  context->error = &ignoreError;
  xmlXPathRegisterFunc(context.get(), chars("matches"), &matchesFunction);
  const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
      xmlXPathEval(chars(expression.c_str()), context.get()), &xmlXPathFreeObject);
  if (!result || result->type != XPATH_NODESET) {
    return std::nullopt;
  }
  std::vector<JLElementNode*> nodes;
  for (int i = 0; result->nodesetval != nullptr && i < result->nodesetval->nodeNr; ++i) {
    nodes.push_back(JLElementNode::fromXML(result->nodesetval->nodeTab[i]));
  }
  return nodes;
}

}  // namespace jumplark::bench
