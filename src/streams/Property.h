#pragma once

#include <utility>

#include "streams/Subject.h"

namespace jumplark {

/// A value that can be observed: an observer gets the present value first and then every one that is set, also one that
/// equals the value before it. Any thread.
template <typename T>
class Property : private Subject<T> {
 public:
  explicit Property(T value = {}) : Subject<T>(true, std::move(value)) {}
  Property(const Property&) = delete;
  Property& operator=(const Property&) = delete;

  T value() const { return *Subject<T>::last(); }
  void set(T value) { Subject<T>::send(std::move(value)); }
  using Subject<T>::observe;
};

}  // namespace jumplark
