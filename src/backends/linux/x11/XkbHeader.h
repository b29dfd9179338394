#pragma once

// The header names a field like a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
