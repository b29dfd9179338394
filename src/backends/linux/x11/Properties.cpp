#include "backends/linux/x11/Properties.h"

#include "backends/linux/x11/Reply.h"
#include "platform/Utf8.h"

namespace jumplark::x11 {
namespace {

std::string latin1ToUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    appendUtf8(result, static_cast<unsigned char>(c));
  }
  return result;
}

}  // namespace

xcb_get_property_cookie_t askProperty(const X11Connection& x, xcb_window_t window, xcb_atom_t property,
                                      uint32_t maxWords) {
  return xcb_get_property(x.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxWords);
}

std::optional<std::vector<uint32_t>> takeNumbers(const X11Connection& x, xcb_get_property_cookie_t cookie) {
  const auto reply = takeReply(x.get(), xcb_get_property_reply, cookie);
  if (!reply || reply->format != 32) {
    return std::nullopt;
  }
  const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
  return std::vector<uint32_t>(values, values + xcb_get_property_value_length(reply.get()) / sizeof(uint32_t));
}

std::string takeText(const X11Connection& x, xcb_get_property_cookie_t cookie) {
  const auto reply = takeReply(x.get(), xcb_get_property_reply, cookie);
  if (!reply || reply->format != 8) {
    return {};
  }
  const std::string_view bytes(static_cast<const char*>(xcb_get_property_value(reply.get())),
                               static_cast<size_t>(xcb_get_property_value_length(reply.get())));
  return reply->type == XCB_ATOM_STRING ? latin1ToUtf8(bytes) : wellFormedUtf8(bytes);
}

std::optional<std::vector<uint32_t>> readNumbers(const X11Connection& x, xcb_window_t window, xcb_atom_t property,
                                                 uint32_t maxWords) {
  return takeNumbers(x, askProperty(x, window, property, maxWords));
}

xcb_res_query_client_ids_cookie_t askClientPid(const X11Connection& x, uint32_t resource) {
  const xcb_res_client_id_spec_t spec{resource, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return xcb_res_query_client_ids(x.get(), 1, &spec);
}

int32_t takeClientPid(const X11Connection& x, xcb_res_query_client_ids_cookie_t cookie) {
  const auto reply = takeReply(x.get(), xcb_res_query_client_ids_reply, cookie);
  if (!reply) {
    return -1;
  }
  for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0; xcb_res_client_id_value_next(&ids)) {
    const bool isPid = (ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
    if (isPid && xcb_res_client_id_value_value_length(ids.data) > 0) {
      return static_cast<int32_t>(*xcb_res_client_id_value_value(ids.data));
    }
  }
  return -1;
}

}  // namespace jumplark::x11
