#pragma once

#include <cstddef>
#include <string>

namespace jumplark::bench {

enum class Texts {
  ordinary,  ///< labels of one to four words, some long texts, some accents, some other scripts
  hostile,   ///< long, repetitive and of many one-letter words, as terminals and logs show them
};

/// A recording with one application whose window holds `elements` elements in groups of fifty, with the roles and texts
/// of an ordinary interface. The same in every run.
std::string desktopWithElements(size_t elements, Texts texts);

/// The process identifier of that application.
inline constexpr int kPid = 501;

}  // namespace jumplark::bench
