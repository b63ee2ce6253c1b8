// What the assignments share: from matched operands to the region engine.
#ifndef ZQSP_ASSIGN_WRITE_REGION_HPP
#define ZQSP_ASSIGN_WRITE_REGION_HPP

#include "assign/region.hpp"
#include "assign/store_element.hpp"
#include "core/target.hpp"

namespace zqsp {

/// What becomes of a row or column that is named repeatedly, when B is assigned.
inline Repeats repeatsFor(const kxArray* B)
{
    return kxIsScalar(B) ? Repeats::kLast : Repeats::kLast;
}

/// Raises "pmaxsize" where a target with sparse content cannot grow to cover column `highest` (0-based).
void checkColumnGrowth(const kxArray* A, unsigned highest);

/// Writes B into the region of the target, which it has been found to fit, and grows the target to cover the region. B
/// is brought into the region's own order first: transposed where it is a vector that lies across the region, and with
/// its rows and columns in the ascending order of the targets where the subscripts are not, repeats resolved.
///
/// `namedRows`, `namedColumns`: the region's extent as matched, repeats included; where one of them is 0, the target
/// only grows. `freshCapacity`: of a target without sparse content, which is created anew; its capacity is the number
/// of entries if that is more. The target is unchanged where this raises.
void writeRegion(Target& target, const Region& region, unsigned namedRows, unsigned namedColumns, Operand& B,
                 unsigned freshCapacity, const FillLimits& limits = {});

} // namespace zqsp

#endif
