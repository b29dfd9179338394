#include "backends/linux/system/CurlHttp.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <utility>

namespace jumplark {
namespace {

constexpr int kPollMilliseconds = 100;
constexpr size_t kHeaderLimit = size_t{256} << 10U;

struct EasyEnd {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MultiEnd {
  void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
struct ListEnd {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListEnd>;

void startLibrary() {
  static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) {
    throw std::runtime_error(fmt::format("libcurl cannot be used: {}", curl_easy_strerror(result)));
  }
}

HttpAnswer failure(HttpError error, std::string problem) {
  HttpAnswer answer;
  answer.error = error;
  answer.problem = std::move(problem);
  return answer;
}

HttpError errorOf(CURLcode code) {
  switch (code) {
    case CURLE_OK:
      return HttpError::none;
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
      return HttpError::badAddress;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
      return HttpError::unreachable;
    case CURLE_OPERATION_TIMEDOUT:
      return HttpError::timedOut;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return HttpError::untrusted;
    default:
      return HttpError::broken;
  }
}

bool holdsLineBreak(const std::string& text) {
  return text.find_first_of(std::string("\r\n\0", 3)) != std::string::npos;
}

/// One request on its way.
class Transfer {
 public:
  Transfer(const HttpRequest& request, const std::string& authorities)
      : request_(request), easy_(curl_easy_init()), multi_(curl_multi_init()) {
    if (!easy_ || !multi_) {
      throw std::bad_alloc();
    }
    setWhere(authorities);
    setWhat();
    set(CURLOPT_WRITEFUNCTION, &Transfer::takeBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &Transfer::takeHeader);
    set(CURLOPT_HEADERDATA, this);
    curl_multi_add_handle(multi_.get(), easy_.get());
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer() { curl_multi_remove_handle(multi_.get(), easy_.get()); }

  HttpAnswer run() {
    int running = 1;
    while (running > 0) {
      if (request_.isCancelled && request_.isCancelled()) {
        return failure(HttpError::cancelled, "the request was cancelled");
      }
      if (curl_multi_perform(multi_.get(), &running) != CURLM_OK ||
          (running > 0 && curl_multi_poll(multi_.get(), nullptr, 0, kPollMilliseconds, nullptr) != CURLM_OK)) {
        return failure(HttpError::broken, "libcurl failed");
      }
    }
    return finish();
  }

 private:
  template <typename Value>
  void set(CURLoption option, Value value) {
    if (const CURLcode code = curl_easy_setopt(easy_.get(), option, value); code != CURLE_OK) {
      throw std::runtime_error(fmt::format("libcurl lacks something: {}", curl_easy_strerror(code)));
    }
  }

  void setWhere(const std::string& authorities) {
    const auto timeout = std::chrono::duration_cast<std::chrono::milliseconds>(request_.timeout);
    set(CURLOPT_URL, request_.address.c_str());
    set(CURLOPT_PROTOCOLS_STR, request_.encryptedOnly ? "https" : "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!authorities.empty()) {
      set(CURLOPT_CAINFO, authorities.c_str());
      set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    }
    set(CURLOPT_TIMEOUT_MS, std::max(1L, static_cast<long>(timeout.count())));
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // a look-up of a host cannot be stopped: it is left behind
    set(CURLOPT_ERRORBUFFER, problem_.data());
  }

  void setWhat() {
    set(CURLOPT_USERAGENT, "jumplark");
    if (request_.method == HttpMethod::post) {
      set(CURLOPT_POST, 1L);
      set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
      set(CURLOPT_POSTFIELDS, request_.body.data());
      addHeader("Expect:");  // no question first whether the body is welcome: it costs a second where nobody answers
    }
    for (const auto& [name, value] : request_.headers) {
      addHeader(fmt::format("{}: {}", name, value));
    }
    set(CURLOPT_HTTPHEADER, headers_.get());
  }

  void addHeader(const std::string& line) {
    curl_slist* const longer = curl_slist_append(headers_.get(), line.c_str());
    if (!longer) {
      throw std::bad_alloc();
    }
    static_cast<void>(headers_.release());
    headers_.reset(longer);
  }

  HttpAnswer finish() {
    CURLcode code = CURLE_RECV_ERROR;
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
      code = message->msg == CURLMSG_DONE ? message->data.result : code;
    }
    long status = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK && !answer_.truncated) {
      const HttpError error = spokeOtherwise(code) ? HttpError::broken : errorOf(code);
      return failure(error, problem_[0] != '\0' ? problem_.data() : curl_easy_strerror(code));
    }
    answer_.status = static_cast<int32_t>(status);
    // Newer versions of the library tell of the header of an answer that redirects nowhere, too.
    const char* redirection = nullptr;
    if (status / 100 == 3) {
      curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &redirection);
    }
    answer_.redirection = redirection != nullptr ? redirection : "";
    return std::move(answer_);
  }

  /// An answer that is not HTTP has the code of an address that is not.
  bool spokeOtherwise(CURLcode code) {
    long connections = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &connections);
    return code == CURLE_UNSUPPORTED_PROTOCOL && connections > 0;
  }

  /// Anything but `size * count` ends the transfer.
  static size_t takeBody(const char* bytes, size_t size, size_t count, void* self) noexcept {
    auto& transfer = *static_cast<Transfer*>(self);
    const size_t room = transfer.request_.answerLimit - transfer.answer_.body.size();
    const size_t length = size * count;
    try {
      transfer.answer_.body.append(bytes, std::min(length, room));
    } catch (...) {
      return 0;
    }
    transfer.answer_.truncated = length > room;
    return length > room ? 0 : length;
  }

  static size_t takeHeader(const char*, size_t size, size_t count, void* self) noexcept {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.headerBytes_ += size * count;
    return transfer.headerBytes_ > kHeaderLimit ? 0 : size * count;
  }

  const HttpRequest& request_;
  std::unique_ptr<CURL, EasyEnd> easy_;
  std::unique_ptr<CURLM, MultiEnd> multi_;
  HeaderList headers_;
  std::array<char, CURL_ERROR_SIZE> problem_{};
  HttpAnswer answer_;
  size_t headerBytes_ = 0;
};

}  // namespace

CurlHttp::CurlHttp(std::string authorities) : authorities_(std::move(authorities)) {}

HttpAnswer CurlHttp::send(const HttpRequest& request) {
  if (request.address.empty() || holdsLineBreak(request.address)) {
    return failure(HttpError::badAddress, "there is no address");
  }
  for (const auto& [name, value] : request.headers) {
    if (name.empty() || holdsLineBreak(name) || holdsLineBreak(value)) {
      return failure(HttpError::badAddress, "a header holds a line break");
    }
  }
  try {
    startLibrary();
    return Transfer(request, authorities_).run();
  } catch (const std::exception& error) {
    return failure(HttpError::broken, error.what());
  }
}

}  // namespace jumplark
