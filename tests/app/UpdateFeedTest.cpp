#include "app/UpdateFeed.h"

#include <gmock/gmock.h>

#include "platform/PlainText.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string rss(const std::string& items, const std::string& prologue = "") {
  return "<?xml version=\"1.0\"?>" + prologue + "<rss version=\"2.0\"><channel><title>T</title>" + items +
         "</channel></rss>";
}

std::string repeated(const std::string& text, size_t count) {
  std::string all;
  while (count-- > 0) {
    all += text;
  }
  return all;
}

TEST(ProductVersion, comesInTheOrderThatPeopleMean) {
  // Each comes before the next.
  const char* const ascending[] = {
      "0.9", "1.0-alpha", "1.0-alpha.1", "1.0-beta2", "1.0-beta10", "1.0rc1", "1",
      "1.2", "1.2.0.1",   "1.10-rc",     "1.10",      "2.0",        "2026.1", "99999999999999999999999.0"};
  for (size_t i = 0; i + 1 < std::size(ascending); ++i) {
    EXPECT_LT(*ProductVersion::parse(ascending[i]), *ProductVersion::parse(ascending[i + 1])) << ascending[i];
  }
  for (const auto& [a, b] :
       {std::pair("1.2", "v1.2.0"), {"1.02", " 1.2\n"}, {"1.0-RC1", "1.0-rc.1"}, {"1.2+5", "1.2"}}) {
    EXPECT_EQ(*ProductVersion::parse(a), *ProductVersion::parse(b)) << a;
  }
  for (const std::string& text :
       std::vector<std::string>{std::string(65, '1'), "", "beta", "-1", "1.2 or so", "1.2\xC3\xA4", "v"}) {
    EXPECT_FALSE(ProductVersion::parse(text)) << text;
  }
}

TEST(UpdateFeed, holdsVersionNotesAndSecureLinkOfEachItem) {
  const UpdateFeed feed = parseUpdateFeed(
      rss("<item><title>A</title><description><![CDATA[<h2>New</h2><ul><li>one &amp; two<li>three</ul>]]></description>"
          "<link> https://example.org/a </link><enclosure url='https://example.org/a.deb' s:version='1.2' "
          "xmlns:s='urn:s'/></item>"
          "<item><description>first line\n second  line</description><link>http://example.org/b</link>"
          "<enclosure url='https://example.org/b.deb' version='1.3-rc1'/></item>"
          "<item><link>http://example.org/c</link><enclosure url='javascript:alert(1)' version='1.1'/></item>"
          "<item><title>no enclosure</title></item>"
          "<item><enclosure version='soon'/></item>"));
  EXPECT_EQ(feed.problem, "");
  std::vector<std::string> seen;
  for (const AnnouncedVersion& announced : feed.versions) {
    seen.push_back(announced.versionText + "|" + announced.link + "|" + announced.notes);
  }
  EXPECT_THAT(seen, ElementsAre("1.2|https://example.org/a|New\n\u2022 one & two\n\u2022 three",
                                "1.3-rc1|https://example.org/b.deb|first line\nsecond line", "1.1||"));
}

TEST(UpdateFeed, refusesWhatIsNoPlainFeed) {
  const std::string item = "<item><enclosure version='9'/></item>";
  const std::string bomb =
      "<!DOCTYPE rss [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>"
      "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'>]>";
  const std::pair<const char*, std::string> cases[] = {
      {"nothing", ""},
      {"truncated", rss(item).substr(0, 80)},
      {"a page", "<html><body>404</body></html>"},
      {"entities", rss("<item><title>&d;</title><enclosure version='9'/></item>", bomb)},
      {"a file", rss(item + "&x;", "<!DOCTYPE rss [<!ENTITY x SYSTEM 'file:///etc/passwd'>]>")},
      {"a document type elsewhere", rss(item, "<!DOCTYPE rss SYSTEM 'https://example.org/rss.dtd'>")},
      {"deep", rss(repeated("<a>", 10000) + repeated("</a>", 10000) + item)},
      {"large", rss(item + "<!--" + std::string(5U << 20U, ' ') + "-->")},
      {"not UTF-8", rss("<item><title>\xFF\xFE</title><enclosure version='9'/></item>")},
  };
  for (const auto& [what, xml] : cases) {
    const UpdateFeed feed = parseUpdateFeed(xml);
    EXPECT_EQ(feed.problem, "What the update server sent cannot be read.") << what;
    EXPECT_TRUE(feed.versions.empty()) << what;
  }
}

TEST(UpdateFeed, notesAreReadAsPeopleSeeThem) {
  const std::pair<std::string, std::string> cases[] = {
      {"1 < 2", "1 < 2"},
      {"<p>a</p><p> b\n c</p>", "a\nb c"},
      {"a<br>b<br/><br/>c", "a\nb\nc"},
      {"<script>bad()</script><style>p{}</style>good<!-- hidden -->", "good"},
      {"<ul><li>a<ul><li>b</li></ul></li></ul>c", "\u2022 a\n\u2022 b\nc"},
      {"caf&eacute; &#x1F426; na\xC3\xAFve", "caf\u00E9 \U0001F426 na\u00EFve"},
      {"<p>un<b>clo", "unclo"},
      {"a\x01\x1B[31mb", "a [31mb"},
      {repeated("<b>", 200) + "text", "text"},
  };
  for (const auto& [html, text] : cases) {
    EXPECT_EQ(plainTextOfHtml(html), text) << html.substr(0, 80);
  }
  EXPECT_THAT(plainTextOfHtml("first" + repeated("<b>", 20000) + "text"), ::testing::StartsWith("first"));
}

TEST(FetchedFeed, comesEncryptedAndInBounds) {
  testing::RecordedFixture desktop(R"({"elements":{}})");
  const auto fetched = [&](const std::function<void(HttpAnswer&)>& change) {
    desktop->http().setResponder([change](const HttpRequest& request) {
      EXPECT_TRUE(request.encryptedOnly);
      EXPECT_EQ(request.answerLimit, kLargestFeed);
      HttpAnswer answer;
      answer.status = 200;
      answer.body = rss("<item><enclosure version='9'/></item>");
      change(answer);
      return answer;
    });
    return fetchUpdateFeed(desktop->http(), "https://u.example.org").problem;
  };
  EXPECT_EQ(fetched([&](auto& answer) {
              const bool isFirst = desktop->http().requests().size() == 1;
              answer.status = isFirst ? 302 : 200;
              answer.redirection = isFirst ? "https://u.example.org/feed" : "";
            }),
            "");
  EXPECT_EQ(desktop->http().requests().back().address, "https://u.example.org/feed");
  EXPECT_EQ(fetched([](auto& answer) { answer.status = 301, answer.redirection = "https://u.example.org/again"; }),
            "The update server has no answer for this system.");
  EXPECT_EQ(desktop->http().requests().size(), 2U + 6U) << "not in circles for ever";
  EXPECT_THAT(fetched([](auto& answer) { answer.truncated = true; }), HasSubstr("cannot be read"));
}

}  // namespace
}  // namespace jumplark
