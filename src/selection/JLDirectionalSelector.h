#pragma once

#include <functional>
#include <vector>

#include "platform/Geometry.h"
#include "query/matching/JLElementMatch.h"

namespace jumplark {

/// The place of a selection by direction, which there is not yet: whatever it is made from, it holds nothing.
class JLDirectionalSelector {
 public:
  using Objects = std::vector<JLElementMatch>;
  using PointBlock = std::function<Point(const JLElementMatch& object)>;

  JLDirectionalSelector(const Objects& objects, const PointBlock& pointBlock);

  const Objects& objectsByXCoords() const { return objectsByXCoords_; }
  const Objects& objectsByYCoords() const { return objectsByYCoords_; }

 private:
  Objects objectsByXCoords_;
  Objects objectsByYCoords_;
};

}  // namespace jumplark
