#pragma once

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/x11/X11Connection.h"

/// Reading properties in two steps, so that many questions travel together: ask first, take the answers afterwards.
/// Every cookie that was asked for must be taken.
namespace jumplark::x11 {

xcb_get_property_cookie_t askProperty(const X11Connection& x, xcb_window_t window, xcb_atom_t property,
                                      uint32_t maxWords = 1024);
/// The values of a property of format 32; none when the property does not exist or has another format.
std::optional<std::vector<uint32_t>> takeNumbers(const X11Connection& x, xcb_get_property_cookie_t cookie);
/// Text in UTF-8 whatever the property's encoding, NUL bytes included; broken bytes become U+FFFD.
std::string takeText(const X11Connection& x, xcb_get_property_cookie_t cookie);

/// Asks and takes at once.
std::optional<std::vector<uint32_t>> readNumbers(const X11Connection& x, xcb_window_t window, xcb_atom_t property,
                                                 uint32_t maxWords = 1024);

/// The process that holds the connection a resource belongs to (X-Resource 1.2); -1 when unknown. Ask only where the
/// extension is there.
xcb_res_query_client_ids_cookie_t askClientPid(const X11Connection& x, uint32_t resource);
int32_t takeClientPid(const X11Connection& x, xcb_res_query_client_ids_cookie_t cookie);

}  // namespace jumplark::x11
