#include "app/ProductAddresses.h"

namespace jumplark {

ProductAddresses ProductAddresses::builtIn() {
  return {JUMPLARK_HELP_URL,         "allow-access",       JUMPLARK_SUPPORT_URL,
          JUMPLARK_METRICS_HELP_URL, JUMPLARK_COMPOSE_URL, JUMPLARK_UPDATE_SERVER_URL,
          JUMPLARK_CRASH_URL,        JUMPLARK_HOMEPAGE_URL};
}

}  // namespace jumplark
