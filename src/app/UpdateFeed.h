#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ProductVersion.h"

namespace jumplark {

class Http;

/// A version that a feed announces.
struct AnnouncedVersion {
  ProductVersion version;
  std::string versionText;  ///< as the feed writes it
  std::string notes;        ///< plain text, lines parted by '\n'; may be empty
  std::string link;         ///< where it is to be had, https; empty when the feed has no such address
};

/// The announcements of a server, or why there are none.
struct UpdateFeed {
  std::string problem;                     ///< a sentence for the user; empty when the feed was read
  std::string details;                     ///< for the log
  std::vector<AnnouncedVersion> versions;  ///< in the feed's order
};

/// Largest feed that is read, in bytes.
inline constexpr size_t kLargestFeed = size_t{1} << 20U;

/// Reads an RSS 2.0 document: items with title, description, link and an enclosure with version and url. An item
/// without a version is passed over. Everything is refused that has a document type (entities live there), is nested
/// too deep, is not XML, or is not RSS. No file or network is asked for anything.
UpdateFeed parseUpdateFeed(std::string_view xml);

/// Fetches a feed and reads it; follows a few redirections, every step by https only, and gives up after 30 seconds or
/// once `isCancelled` says so. Blocks, so never on the main thread.
UpdateFeed fetchUpdateFeed(Http& http, const std::string& address, const std::function<bool()>& isCancelled = {});

}  // namespace jumplark
