#pragma once

#include <functional>
#include <string>

#include "app/ProductAddresses.h"

namespace jumplark {

/// Opens a page, by address or path, in the user's program for it; where none shows it, a message says where the page
/// is. `next`, unless it is empty, is called once, when the page is open or the message was answered. Main thread only.
void openPage(const std::string& address, std::function<void()> next = {});
/// Opens the getting-started page likewise, at an anchor unless that is empty: the product's page where the build has
/// its address, else the guide that was installed. A message says where there is neither. Main thread only.
void openGettingStarted(const ProductAddresses& addresses, const std::string& anchor = {},
                        std::function<void()> next = {});
/// Whether there is such a page.
bool hasGettingStarted(const ProductAddresses& addresses);

}  // namespace jumplark
