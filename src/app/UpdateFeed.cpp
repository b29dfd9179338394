#include "app/UpdateFeed.h"

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "platform/Http.h"
#include "platform/PlainText.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark {
namespace {

constexpr size_t kMostItems = 1000;
constexpr size_t kLongestVersionText = 64;
constexpr size_t kLongestNotes = size_t{64} << 10U;  ///< bytes of mark-up
constexpr size_t kLongestLink = 2000;
constexpr int kMostRedirections = 5;
constexpr std::chrono::seconds kPatience{30};

constexpr const char* kUnreadable = textForLater("What the update server sent cannot be read.");

struct ContextEnd {
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
struct DocumentEnd {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentEnd>;

UpdateFeed failed(std::string problem, std::string details) {
  return {std::move(problem), std::move(details), {}};
}

std::string_view viewOf(const xmlChar* text) {
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

/// Entities are declared in a document type, and a feed needs none: the first sight of one ends the reading.
void refuseDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) noexcept {
  xmlStopParser(static_cast<xmlParserCtxt*>(context));
}

Document read(std::string_view xml) {
  const std::unique_ptr<xmlParserCtxt, ContextEnd> context(xmlNewParserCtxt());
  if (!context) {
    throw std::bad_alloc();
  }
  context->sax->internalSubset = refuseDocumentType;
  context->sax->externalSubset = refuseDocumentType;
  // Without XML_PARSE_HUGE the parser ends by itself at a depth of 256.
  Document document(xmlCtxtReadMemory(context.get(), xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NOCDATA));
  return context->wellFormed != 0 ? std::move(document) : nullptr;
}

bool isNamed(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && viewOf(node->name) == name;
}

const xmlNode* child(const xmlNode* parent, std::string_view name) {
  const xmlNode* found = parent != nullptr ? parent->children : nullptr;
  // An element of another vocabulary may have the same name.
  while (found != nullptr && !(isNamed(found, name) && found->ns == nullptr)) {
    found = found->next;
  }
  return found;
}

std::string textOf(const xmlNode* element) {
  std::string text;
  for (const xmlNode* piece = element != nullptr ? element->children : nullptr; piece != nullptr; piece = piece->next) {
    if (piece->type == XML_TEXT_NODE || piece->type == XML_CDATA_SECTION_NODE) {
      text += viewOf(piece->content);
    }
  }
  return text;
}

/// Whatever vocabulary it belongs to: "version" is not RSS's own.
std::string attribute(const xmlNode* element, std::string_view name) {
  for (const xmlAttr* found = element != nullptr ? element->properties : nullptr; found != nullptr;
       found = found->next) {
    if (viewOf(found->name) == name) {
      return found->children != nullptr ? std::string(viewOf(found->children->content)) : std::string();
    }
  }
  return {};
}

bool isSecureAddress(std::string_view address) {
  constexpr std::string_view kScheme = "https://";
  const bool isPlain = address.find_first_of(std::string_view(" \t\r\n\"<>\\\0", 9)) == std::string::npos;
  return address.starts_with(kScheme) && address.size() > kScheme.size() && address.size() <= kLongestLink && isPlain;
}

std::optional<AnnouncedVersion> versionOf(const xmlNode* item) {
  const xmlNode* const enclosure = child(item, "enclosure");
  const std::string text(trimmed(attribute(enclosure, "version")));
  const auto version = ProductVersion::parse(text);
  if (!version || text.size() > kLongestVersionText) {
    return std::nullopt;
  }
  AnnouncedVersion announced{*version, text, {}, {}};
  announced.notes = plainTextOfHtml(textOf(child(item, "description")).substr(0, kLongestNotes));
  for (const std::string& address : {textOf(child(item, "link")), attribute(enclosure, "url")}) {
    if (announced.link.empty() && isSecureAddress(trimmed(address))) {
      announced.link = trimmed(address);
    }
  }
  return announced;
}

std::string problemOf(HttpError error) {
  switch (error) {
    case HttpError::timedOut:
      return localized("The update server did not answer in time.");
    case HttpError::untrusted:
      return localized("The update server could not prove that it is the right one.");
    case HttpError::badAddress:
      return localized("The update server's address cannot be used.");
    case HttpError::broken:
      return localized(kUnreadable);
    default:
      return localized("The update server cannot be reached. Is this computer connected to the internet?");
  }
}

}  // namespace

UpdateFeed parseUpdateFeed(std::string_view xml) {
  if (xml.empty() || xml.size() > kLargestFeed) {
    return failed(localized(kUnreadable), fmt::format("a feed of {} bytes", xml.size()));
  }
  const Document document = read(xml);
  const xmlNode* const root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  const xmlNode* const channel = root != nullptr && isNamed(root, "rss") ? child(root, "channel") : nullptr;
  if (channel == nullptr) {
    return failed(localized(kUnreadable), document ? "it is not RSS" : "it is not well-formed, or has a document type");
  }
  UpdateFeed feed;
  for (const xmlNode* item = channel->children; item != nullptr && feed.versions.size() < kMostItems;
       item = item->next) {
    if (isNamed(item, "item")) {
      if (auto announced = versionOf(item)) {
        feed.versions.push_back(std::move(*announced));
      }
    }
  }
  return feed;
}

UpdateFeed fetchUpdateFeed(Http& http, const std::string& address, const std::function<bool()>& isCancelled) {
  Queues& queues = *Platform::current().queues;
  const Duration end = queues.monotonicNow() + kPatience;
  HttpRequest request;
  request.encryptedOnly = true;
  request.answerLimit = kLargestFeed;
  request.isCancelled = isCancelled;
  HttpAnswer answer;
  answer.redirection = address;
  for (int i = 0; i <= kMostRedirections && !answer.redirection.empty(); ++i) {
    request.address = answer.redirection;
    request.timeout = std::max<Duration>(end - queues.monotonicNow(), std::chrono::milliseconds(1));
    answer = http.send(request);
  }
  if (answer.error != HttpError::none) {
    return failed(problemOf(answer.error), answer.problem);
  }
  if (answer.truncated) {
    return failed(localized(kUnreadable), fmt::format("it is larger than {} bytes", kLargestFeed));
  }
  if (!answer.isSuccess()) {
    return failed(localized("The update server has no answer for this system."),
                  fmt::format("HTTP status {}", answer.status));
  }
  return parseUpdateFeed(answer.body);
}

}  // namespace jumplark
