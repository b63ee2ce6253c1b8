// From matched operands to the region engine: what the two-subscript assignments share.
#ifndef ZQSP_ASSIGN_WRITE_REGION_HPP
#define ZQSP_ASSIGN_WRITE_REGION_HPP

#include "assign/region.hpp"

namespace zqsp {

/// Raises "pmaxsize" where a target with sparse content cannot grow to cover column `highest` (0-based).
void checkColumnGrowth(const kxArray* A, unsigned highest);

/// Writes B into the region of A, which it has been found to fit, and grows A to cover the region. B is brought into
/// the region's own order first: transposed where it is a vector that lies across the region, and with its rows and
/// columns in the ascending order of the targets where the subscripts are not, repeats resolved.
///
/// `namedRows`, `namedColumns`: the region's extent as matched, repeats included; where one of them is 0, A only grows.
/// `freshCapacity`: of an A without sparse content, which is created anew; its capacity is the number of entries if
/// that is more. A is unchanged where this raises.
void writeRegion(kxArray* A, const Region& region, unsigned namedRows, unsigned namedColumns, Operand& B,
                 unsigned freshCapacity, const FillLimits& limits = {});

} // namespace zqsp

#endif
