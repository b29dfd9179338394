#pragma once

#include <string>

namespace jumplark {

/// The product's pages and servers. They are settings of the build; an empty one is not there, and nothing is sent or
/// opened in its stead.
struct ProductAddresses {
  std::string gettingStarted;  ///< the help page
  std::string allowAccess;     ///< the anchor on it about accessibility access, without the '#'
  std::string support;
  std::string metricsExplanation;
  std::string composeMessage;       ///< composes a public short message to the product's account
  std::string updateServer;         ///< without the path
  std::string crashCollector = {};  ///< takes crash reports that the user sends
  std::string homepage = {};        ///< the product's page

  static ProductAddresses builtIn();
};

}  // namespace jumplark
