#include "app/UpdateFeed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/system/CurlHttp.h"
#include "backends/system/TestServer.h"
#include "platform/Http.h"
#include "support/RecordedFixture.h"
#include "support/TemporaryFolder.h"

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
  for (size_t i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

TEST(ProductVersion, ComesInTheOrderThatPeopleMean) {
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
  for (const std::string& text : {std::string(), std::string("beta"), std::string("-1"), std::string("1.2 or so"),
                                  std::string("1.2\xC3\xA4"), std::string(65, '1'), std::string("v")}) {
    EXPECT_FALSE(ProductVersion::parse(text)) << text;
  }
}

TEST(UpdateFeed, HoldsVersionNotesAndSecureLinkOfEachItem) {
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

TEST(UpdateFeed, RefusesWhatIsNoPlainFeed) {
  const std::string item = "<item><enclosure version='9'/></item>";
  const std::string bomb =
      "<!DOCTYPE rss [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>"
      "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'>]>";
  const struct {
    const char* what;
    std::string xml;
  } cases[] = {
      {"nothing", ""},
      {"garbage", "\x7F\x45LF\x02\x01\x01 not a feed"},
      {"no text", std::string(1000, '\0')},
      {"truncated", rss(item).substr(0, 80)},
      {"a page", "<html><body>404</body></html>"},
      {"another feed", "<feed xmlns='http://www.w3.org/2005/Atom'><entry/></feed>"},
      {"entities", rss("<item><title>&d;</title><enclosure version='9'/></item>", bomb)},
      {"entities in an attribute", rss("<item><enclosure version='&d;'/></item>", bomb)},
      {"a file", rss(item + "&x;", "<!DOCTYPE rss [<!ENTITY x SYSTEM 'file:///etc/passwd'>]>")},
      {"a document type elsewhere", rss(item, "<!DOCTYPE rss SYSTEM 'https://example.org/rss.dtd'>")},
      {"deep", rss(repeated("<a>", 10000) + repeated("</a>", 10000) + item)},
      {"large", rss(item + "<!--" + std::string(5U << 20U, ' ') + "-->")},
      {"not UTF-8", rss("<item><title>\xFF\xFE</title><enclosure version='9'/></item>")},
  };
  for (const auto& example : cases) {
    const UpdateFeed feed = parseUpdateFeed(example.xml);
    EXPECT_EQ(feed.problem, "What the update server sent cannot be read.") << example.what;
    EXPECT_TRUE(feed.versions.empty()) << example.what;
  }
}

TEST(UpdateFeed, NotesAreReadAsPeopleSeeThem) {
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

class FetchedFeed : public ::testing::Test {
 protected:
  FetchedFeed() {
    for (const char* name : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
      ::unsetenv(name);
    }
    testing::writeFile(file_, certificate_.certificate);
  }

  static TestServer::Handler redirecting(const std::string& target) {
    return [target](TestServer::Client& client, const TestServer::Request&) {
      client.send("HTTP/1.1 302 Found\r\nLocation: " + target + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    };
  }

  testing::RecordedFixture desktop_{R"({"elements":{}})"};
  const TestCertificate certificate_ = TestCertificate::make("localhost");
  const testing::TemporaryFolder folder_;
  const std::string file_ = folder_ / "authorities.pem";
};

TEST_F(FetchedFeed, ComesOverTrustedConnectionsOnlyAndInBounds) {
  const std::string good = rss("<item><enclosure version='9'/></item>");
  const TestServer fine(TestServer::answering(200, good), certificate_);
  const TestServer plain(TestServer::answering(200, good));
  const TestServer stranger(TestServer::answering(200, good), TestCertificate::make("localhost"));
  const TestServer large(TestServer::answering(200, rss("<!--" + std::string(5U << 20U, ' ') + "-->")), certificate_);
  const TestServer missing(TestServer::answering(404, good), certificate_);
  const TestServer moved(redirecting(fine.address("localhost") + "/feed"), certificate_);
  const TestServer toHttp(redirecting(plain.address()), certificate_);
  const TestServer toFile(redirecting("file:///etc/passwd"), certificate_);
  const TestServer toStranger(redirecting(stranger.address("localhost")), certificate_);
  const TestServer inCircles(
      [](TestServer::Client& client, const TestServer::Request&) {
        client.send("HTTP/1.1 301 Moved\r\nLocation: /again\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
      },
      certificate_);
  const struct {
    const char* what;
    std::string address;
    const char* problem;
  } cases[] = {
      {"good", fine.address("localhost"), ""},
      {"redirected", moved.address("localhost"), ""},
      {"http", plain.address(), "address cannot be used"},
      {"redirected to http", toHttp.address("localhost"), "address cannot be used"},
      {"redirected to a file", toFile.address("localhost"), "address cannot be used"},
      {"not trusted", stranger.address("localhost"), "could not prove"},
      {"redirected to a stranger", toStranger.address("localhost"), "could not prove"},
      {"too large", large.address("localhost"), "cannot be read"},
      {"no such page", missing.address("localhost"), "no answer for this system"},
      {"redirected for ever", inCircles.address("localhost"), "no answer for this system"},
  };
  CurlHttp http(file_);
  for (const auto& example : cases) {
    const UpdateFeed feed = fetchUpdateFeed(http, example.address);
    EXPECT_THAT(feed.problem, HasSubstr(example.problem)) << example.what << ": " << feed.details;
    EXPECT_EQ(feed.problem.empty(), *example.problem == '\0') << example.what << ": " << feed.problem << feed.details;
    EXPECT_EQ(feed.versions.size(), *example.problem == '\0' ? 1U : 0U) << example.what;
  }
  EXPECT_EQ(plain.requests().size() + stranger.requests().size(), 0U) << "nothing is said to them";
  EXPECT_EQ(fine.requests().back().line, "GET /feed HTTP/1.1");
  EXPECT_EQ(inCircles.requests().size(), 6U);
}

}  // namespace
}  // namespace jumplark
