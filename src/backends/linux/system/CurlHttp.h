#pragma once

#include <string>

#include "platform/Http.h"

namespace jumplark {

/// HTTP and HTTPS by libcurl. Proxies are those of the environment (http_proxy, https_proxy, no_proxy).
class CurlHttp : public Http {
 public:
  /// Servers must show a certificate of an authority in this PEM file; without one, of those that the system trusts.
  explicit CurlHttp(std::string authorities = {});

  HttpAnswer send(const HttpRequest& request) override;

 private:
  std::string authorities_;
};

}  // namespace jumplark
