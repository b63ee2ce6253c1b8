// Making arrays.
#include "create.hpp"

#include "colon.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"
#include "small_blocks.hpp"

#include <limits>
#include <string>

namespace kxrt {
namespace {

[[noreturn, gnu::cold, gnu::noinline]] void raiseNeverComplex()
{
    raiseInvalidOperand("Logical and char arrays cannot be complex.");
}

/// Checks class and complexity; the flag that arrays of the class carry.
unsigned flagsFor(kxClassID id, kxComplexity complexity)
{
    requireKnownClass(id);
    if (mayBeComplex(id)) {
        return kxFLAG_MAY_BE_COMPLEX;
    }
    if (complexity == kxCOMPLEX) {
        raiseNeverComplex();
    }
    return 0;
}

using BlockMaker = void* (*)(std::size_t count, std::size_t size);

ArrayOwner newFullBy(BlockMaker makeBlock, std::span<const unsigned> dims, kxClassID id, kxComplexity complexity)
{
    const unsigned flags = flagsFor(id, complexity);
    requireElementCount(dims);
    ArrayOwner made = newRecord(id, flags, 0, 0);
    if (!storeDimensions(made.get(), dims)) {
        raiseOutOfMemory(dims.size_bytes());
    }
    const std::size_t count = elementsOf(made.get());
    made->pr = makeBlock(count, elementSize(id));
    if (complexity == kxCOMPLEX) {
        made->pi = makeBlock(count, elementSize(id));
    }
    return made;
}

[[noreturn, gnu::cold, gnu::noinline]] void raiseAboveMost(std::span<const unsigned> dims, unsigned most)
{
    std::string shape = std::to_string(dims[0]);
    for (const unsigned dim : dims.subspan(1)) {
        shape += "-by-" + std::to_string(dim);
    }
    raiseSizeLimit("A full array of " + shape + " elements is above the largest number of elements, " +
                   std::to_string(most) + ".");
}

} // namespace

void requireElementCount(std::span<const unsigned> dims)
{
    const unsigned most = matrix::detail::noninlined::kx_array_api::kxGetMaxNumberOfElements();
    if ((dims.size() == 2 ? std::uint64_t{dims[0]} * dims[1] : productOf(dims)) <= most) {
        return;
    }
    raiseAboveMost(dims, most);
}

ArrayOwner newFull(std::span<const unsigned> dims, kxClassID id, kxComplexity complexity)
{
    return newFullBy(allocate, dims, id, complexity);
}

ArrayOwner newZeroedFull(std::span<const unsigned> dims, kxClassID id, kxComplexity complexity)
{
    return newFullBy(allocateZeroed, dims, id, complexity);
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxCreateSparseNumericMatrix(unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    const unsigned flags = flagsFor(id, complexity) | kxFLAG_SPARSE;
    BlockSource blocks;
    ArrayOwner made(new (blocks.take(sizeof(ArrayRecord))) ArrayRecord(id, flags, m, n));
    made->nzmax = nzmax;
    made->jc = static_cast<unsigned*>(blocks.take((std::size_t{n} + 1) * sizeof(unsigned), true));
    made->ir = static_cast<unsigned*>(blocks.take(nzmax * sizeof(unsigned)));
    made->pr = blocks.take(nzmax * elementSize(id));
    if (complexity == kxCOMPLEX) {
        made->pi = blocks.take(nzmax * elementSize(id));
    }
    return made.release();
}

kxArray* kxCreateNumericArray(unsigned ndims, const unsigned* dims, kxClassID id, kxComplexity complexity)
{
    if (ndims < 2) {
        raiseInvalidOperand("An array has at least two dimensions, not " + std::to_string(ndims) + ".");
    }
    return newZeroedFull({dims, ndims}, id, complexity).release();
}

kxArray* kxCreateDoubleMatrix(unsigned m, unsigned n, kxComplexity complexity)
{
    const unsigned dims[] = {m, n};
    return newZeroedFull(dims, kxDOUBLE_CLASS, complexity).release();
}

kxArray* kxCreateEmptyCopy(const kxArray* array)
{
    if (isSparse(array)) {
        return newSparse(0, 0, 0, classOf(array), kxREAL).release();
    }
    if (classOf(array) == kxUNKNOWN_CLASS) {
        return kxCreateUnset();
    }
    const unsigned dims[] = {0, 0};
    return newFull(dims, classOf(array), kxREAL).release();
}

kxArray* kxCreateColonObject(double start, double step, double stop)
{
    const Range range{start, step, stop};
    ArrayOwner made = newRecord(kxDOUBLE_CLASS, kxFLAG_COLON_OBJECT, 1, countSaturated(range));
    record(made.get())->range = range;
    return made.release();
}

kxArray* kxCreateColon()
{
    // One by one, so that it never passes for a subscript that selects nothing.
    ArrayOwner made = newRecord(kxDOUBLE_CLASS, kxFLAG_COLON_OBJECT, 1, 1);
    record(made.get())->range = {1, 1, std::numeric_limits<double>::infinity()};
    record(made.get())->bareColon = true;
    return made.release();
}

kxArray* kxCreateEmptyLiteral()
{
    kxArray* made = kxCreateDoubleMatrix(0, 0, kxREAL);
    made->flags |= kxFLAG_EMPTY_LITERAL;
    return made;
}

kxArray* kxCreateUnset()
{
    return newRecord(kxUNKNOWN_CLASS, 0, 0, 0).release();
}

} // namespace matrix::detail::noninlined::kx_array_api
