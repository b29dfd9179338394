#include "selection/JLDirectionalSelector.h"

namespace jumplark {

JLDirectionalSelector::JLDirectionalSelector(const Objects& /*objects*/, const PointBlock& /*pointBlock*/) {}

}  // namespace jumplark
