#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "platform/Queues.h"

namespace jumplark {

enum class HttpMethod { get, post };

/// What kept a request from being answered.
enum class HttpError {
  none,         ///< there is a status, whichever
  badAddress,   ///< the address is none, or its scheme is not permitted
  unreachable,  ///< no such host, or nothing listens there
  timedOut,
  untrusted,  ///< no encrypted connection to the server that the address names could be made
  broken,     ///< the connection ended in the middle, or what came is not HTTP
  cancelled,
};

struct HttpRequest {
  HttpMethod method = HttpMethod::get;
  std::string address;
  std::map<std::string, std::string> headers;   ///< one with a line break in it makes the request fail: badAddress
  std::string body;                             ///< sent with post only
  bool encryptedOnly = false;                   ///< refuse http: badAddress
  Duration timeout = std::chrono::seconds(30);  ///< for all of it, from looking up the host to the last byte
  size_t answerLimit = size_t{64} << 10U;       ///< bytes of the answer's body that are kept
  /// Asked several times a second while the request runs, on the thread that sends; true ends it.
  std::function<bool()> isCancelled;
};

struct HttpAnswer {
  HttpError error = HttpError::none;
  std::string problem;      ///< a sentence for the log when there is an error
  int32_t status = 0;       ///< 0 when none came
  std::string body;         ///< at most `answerLimit` bytes
  bool truncated = false;   ///< the body was longer; the rest was not fetched
  std::string redirection;  ///< where a redirecting answer points, as a whole address; empty for any other

  bool isSuccess() const { return error == HttpError::none && status >= 200 && status <= 299; }
};

/// Requests to servers. A certificate that does not verify ends the request; no cookie is sent or kept; a redirection
/// is an answer like any other and is not followed. Nothing is asked of the network but what send() is given.
class Http {
 public:
  virtual ~Http() = default;
  /// Sends the request and waits for the answer, so never called on the main thread. Any other thread, several at once.
  virtual HttpAnswer send(const HttpRequest& request) = 0;
};

}  // namespace jumplark
