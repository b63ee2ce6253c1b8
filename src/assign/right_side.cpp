#include "assign/right_side.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>

namespace zqsp {

bool isDeletionMarker(const kxArray* B)
{
    return hasFlag(B, kxFLAG_EMPTY_LITERAL) && B->scope != kxELEMENT_SCOPE;
}

void foldToMatrix(Operand& B, unsigned m, unsigned n)
{
    const std::array<unsigned, 2> matrix = {m, n};
    ArrayOwner folded(kxCreateSharedDataCopy(B.get()));
    kxSetDimensions(folded.get(), matrix.data(), matrix.size());
    B.become(folded.release());
}

bool squeezeToMatrix(Operand& B)
{
    if (B->ndims <= 2) {
        return true;
    }
    std::array<unsigned, 2> matrix = {1, 1};
    std::size_t kept = 0;
    const unsigned* dims = B->get_dimensions();
    for (unsigned d = 0; d < B->ndims; ++d) {
        if (dims[d] == 1) {
            continue;
        }
        if (kept == matrix.size()) {
            return false;
        }
        matrix[kept++] = dims[d];
    }
    foldToMatrix(B, matrix[0], matrix[1]);
    return true;
}

kxClassID targetClass(const kxArray* A, const kxArray* B)
{
    const kxClassID id = classOf(A);
    return id == kxUNKNOWN_CLASS ? classOf(B) : id;
}

void makeTruthsOne(Operand& B)
{
    if (classOf(B.get()) != kxLOGICAL_CLASS) {
        return;
    }
    const std::size_t count = kxGetNumNonZeroEl(B.get());
    const auto* const values = static_cast<const std::uint8_t*>(B->pr);
    if (std::accumulate(values, values + count, 0U, std::bit_or<>()) <= 1) {
        return;
    }
    ArrayOwner copy(kxCreateDeepCopy(B.get()));
    auto* const truths = static_cast<std::uint8_t*>(copy->pr);
    std::transform(truths, truths + count, truths, [](std::uint8_t byte) { return std::uint8_t{byte != 0}; });
    B.become(copy.release());
}

bool isZeroScalar(const kxArray* B, const Columns& b)
{
    return (isSparse(B) && b.nnz() == 0) ||
           (b.classId == kxDOUBLE_CLASS ? ComplexValues(b).isZero(0) : GenericValues(b).isZero(0));
}

bool RightSide::anyZero(unsigned count) const
{
    return isMatrix() ? withStorage(b,
                                    [count](auto values) {
                                        constexpr unsigned kTogether = 64;
                                        bool isAny = false;
                                        for (unsigned t = 0; t < count && !isAny;) {
                                            const unsigned end = t + std::min(kTogether, count - t);
                                            for (; t < end; ++t) { // whole registers
                                                isAny |= values.isZero(t);
                                            }
                                        }
                                        return isAny;
                                    })
                      : isNothing();
}

} // namespace zqsp
