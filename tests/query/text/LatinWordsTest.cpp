#include <gtest/gtest.h>

#include <thread>

#include "query/text/JLTextUtils.h"

namespace jumplark {
namespace {

using Words = std::vector<std::string>;

TEST(LatinWords, AreTheWordsOfATextInLatinLetters) {
  const std::vector<std::pair<std::string, Words>> cases = {
      {"", {}},
      {"…", {}},
      {"Save As…", {"Save", "As"}},
      {"it's 3.5 a_b", {"it's", "3.5", "a_b"}},
      {"Résumé", {"Résumé"}},
      {"Щука и Ёж", {"Ŝuka", "i", "Ëž"}},
      {"中文 输入", {"zhōng wén", "shū rù"}},
      {"Αρχείο", {"Archeío"}},
      {"ok 😀", {"ok"}},
      {"bad \xFF byte", {"bad", "byte"}},
      {"a~b", {"a~b"}},  // a tilde joins, between words only
      {"a~b~1", {"a~b~1"}},
      {"a~~b", {"a", "b"}},
      {"~a~", {"a"}},
      {"a ~b", {"a", "b"}},
  };
  for (const auto& [text, words] : cases) {
    EXPECT_EQ(JLTextUtils::latinWordsForText(text), words) << text;
  }
}

TEST(LatinWords, MayBeAskedForOnSeveralThreads) {
  std::vector<Words> results(4);
  std::vector<std::thread> threads;
  threads.reserve(results.size());
  for (Words& result : results) {
    threads.emplace_back([&result] {
      for (int i = 0; i < 200; ++i) {
        result = JLTextUtils::latinWordsForText("Файл " + std::to_string(i % 7) + " 漢字");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const Words& result : results) {
    EXPECT_EQ(result, (Words{"Fajl", "3", "hàn zì"}));
  }
}

}  // namespace
}  // namespace jumplark
