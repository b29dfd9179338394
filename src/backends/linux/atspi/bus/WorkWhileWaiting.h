#pragma once

#include <functional>

#include "platform/Token.h"

namespace jumplark::atspi {

/// Makes the calling thread do `work` every now and then whenever it waits for an application's answer, until the token
/// is destroyed on the same thread. For the thread on which this program itself answers: it can be asked like any other
/// application, also by the thread that waits for it. Work must be short and wait for nothing.
Token workWhileWaiting(std::function<void()> work);

/// The work of the calling thread; null where it has none.
const std::function<void()>* workOfThisThread();

}  // namespace jumplark::atspi
