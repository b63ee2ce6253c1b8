#include "assign/right_side.hpp"

#include "core/values.hpp"

#include <array>

namespace zqsp {

bool isDeletionMarker(const kxArray* B)
{
    return hasFlag(B, kxFLAG_EMPTY_LITERAL) && B->scope != kxELEMENT_SCOPE;
}

ArrayOwner squeezeToMatrix(const kxArray* B)
{
    std::array<unsigned, 2> matrix = {1, 1};
    std::size_t kept = 0;
    const unsigned* dims = B->get_dimensions();
    for (unsigned d = 0; d < B->ndims; ++d) {
        if (dims[d] == 1) {
            continue;
        }
        if (kept == matrix.size()) {
            return {};
        }
        matrix[kept++] = dims[d];
    }
    ArrayOwner squeezed(kxCreateSharedDataCopy(B));
    kxSetDimensions(squeezed.get(), matrix.data(), matrix.size());
    return squeezed;
}

kxClassID targetClass(const kxArray* A, const kxArray* B)
{
    const kxClassID id = classOf(A);
    return id == kxUNKNOWN_CLASS ? classOf(B) : id;
}

bool isZeroScalar(const kxArray* B, const Columns& b)
{
    return (isSparse(B) && b.nnz() == 0) || withStorage(b, [](auto values) { return values.isZero(0); });
}

} // namespace zqsp
