// Arrays under construction.
#ifndef KX_CREATE_HPP
#define KX_CREATE_HPP

#include "record.hpp"

#include <span>

namespace kxrt {

/// A full array whose elements are not cleared. Raises kx:invalidOperand for an unusable class, kx:sizeLimit,
/// kx:outOfMemory.
ArrayOwner newFull(std::span<const unsigned> dims, kxClassID id, kxComplexity complexity);
/// The same, cleared.
ArrayOwner newZeroedFull(std::span<const unsigned> dims, kxClassID id, kxComplexity complexity);
/// As kxCreateSparseNumericMatrix.
inline ArrayOwner newSparse(unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    return ArrayOwner(
        matrix::detail::noninlined::kx_array_api::kxCreateSparseNumericMatrix(m, n, nzmax, id, complexity));
}
/// kx:sizeLimit when a full array of these dimensions has more elements than the runtime allows.
void requireElementCount(std::span<const unsigned> dims);

} // namespace kxrt

#endif
