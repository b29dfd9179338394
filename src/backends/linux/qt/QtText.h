#pragma once

#include <QString>

#include "platform/Texts.h"

namespace jumplark {

/// localized() as Qt has texts.
inline QString localizedText(const char* english) {
  return QString::fromUtf8(localized(english));
}

}  // namespace jumplark
