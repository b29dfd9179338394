#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace jumplark::x11 {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

/// A reply or event of the X server; null when the request failed.
template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;

/// Waits for the reply to one request. An error belongs to that request alone and gives null: windows vanish between
/// the question and the answer, and their ids are used again. Null also when the connection is lost.
template <typename R, typename Cookie>
Reply<R> takeReply(xcb_connection_t* connection, R* (*fetch)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                   Cookie cookie) {
  xcb_generic_error_t* error = nullptr;
  Reply<R> reply(fetch(connection, cookie, &error));
  std::free(error);
  return reply;
}

}  // namespace jumplark::x11
