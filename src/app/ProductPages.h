#pragma once

#include <string>

#include "app/ProductAddresses.h"

namespace jumplark {

/// Opens the getting-started page, at an anchor unless that is empty: the product's page where the build has its
/// address, else the documentation that was installed. False when there is neither, or no program that shows it. Main
/// thread only.
bool openGettingStarted(const ProductAddresses& addresses, const std::string& anchor = {});
/// Whether there is such a page.
bool hasGettingStarted(const ProductAddresses& addresses);

}  // namespace jumplark
