#pragma once

#include "ctl/tree_records.h"

#include <QString>

namespace ctl {

/// The tree as lines for the terminal. `inColours`: objects in their own colours by escape sequences of 24-bit colour;
/// otherwise the colours are named behind them.
///
/// Every group and object stands in it, whatever the links say: an object stands in each of its groups; what is in no
/// group comes last; a group that several groups hold is unfolded where it comes first; groups that only hold each
/// other, groups that the registry does not know, and those deeper than a line can show have a place of their own.
[[nodiscard]] QString drawTree(const ObjectTree &tree, bool inColours);

} // namespace ctl
