// The runtime's array object in full, and what all files of the runtime ask of it.
#ifndef KX_RECORD_HPP
#define KX_RECORD_HPP

#include "memory.hpp"

#include <kx_array.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace kxrt {

/// What a colon object stands for.
struct Range
{
    double start;
    double step;
    double stop;
};

/// An array as it lies in its header block. A 2-D array is one block and its data; more dimensions take a block of
/// their own.
struct ArrayRecord : kxArray
{
    unsigned matrixDims[2];       ///< the dimensions while there are two
    unsigned* manyDims = nullptr; ///< the dimensions otherwise
    Range range = {};             ///< of a colon object
    bool bareColon = false;

    ArrayRecord(kxClassID id, unsigned initialFlags, unsigned m, unsigned n) noexcept : matrixDims{m, n}
    {
        class_id = id;
        scope = kxTEMPORARY_SCOPE;
        flags = initialFlags;
        ndims = 2;
        nzmax = 0;
        pr = nullptr;
        pi = nullptr;
        ir = nullptr;
        jc = nullptr;
    }
    ~ArrayRecord() = default; // blocks are given back by freeContent()
};

inline ArrayRecord* record(kxArray* array)
{
    return static_cast<ArrayRecord*>(array);
}
inline const ArrayRecord* record(const kxArray* array)
{
    return static_cast<const ArrayRecord*>(array);
}

/// A hidden class is stored as the class plus this.
constexpr unsigned kHiddenClassOffset = 0x100;

/// The element class, hidden or not.
inline kxClassID classOf(const kxArray* array)
{
    return array->class_id > 16 ? static_cast<kxClassID>(array->class_id - kHiddenClassOffset) : array->class_id;
}
inline bool isSparse(const kxArray* array)
{
    return (array->flags & kxFLAG_SPARSE) != 0;
}
inline bool isColonObject(const kxArray* array)
{
    return (array->flags & kxFLAG_COLON_OBJECT) != 0;
}
inline bool isComplex(const kxArray* array)
{
    return (array->flags & kxFLAG_MAY_BE_COMPLEX) != 0 && array->pi != nullptr;
}
inline kxComplexity complexityOf(const kxArray* array)
{
    return isComplex(array) ? kxCOMPLEX : kxREAL;
}

inline std::span<const unsigned> dimensions(const kxArray* array)
{
    return {array->get_dimensions(), array->ndims};
}
inline unsigned rowsOf(const kxArray* array)
{
    return array->get_dimensions()[0];
}
/// Columns of an array of two dimensions.
inline unsigned columnsOf(const kxArray* array)
{
    return array->get_dimensions()[1];
}
/// Stored entries of a sparse array.
inline unsigned entriesOf(const kxArray* array)
{
    return array->jc == nullptr ? 0 : array->jc[columnsOf(array)];
}
/// Product of dimensions, saturating at 64 bits; 0 when one of them is 0.
std::uint64_t productOf(std::span<const unsigned> dims);
/// The same of an array's dimensions. Of a full array it is the number of elements.
inline std::uint64_t elementsOf(const kxArray* array)
{
    const std::span<const unsigned> dims = dimensions(array);
    return dims.size() == 2 ? std::uint64_t{dims[0]} * dims[1] : productOf(dims);
}

struct ArrayRelease
{
    void operator()(kxArray* array) const noexcept;
};
/// An array under construction: destroyed with what it holds unless released to the caller.
using ArrayOwner = std::unique_ptr<kxArray, ArrayRelease>;

/// A 2-D array without data. Raises kx:outOfMemory.
ArrayOwner newRecord(kxClassID id, unsigned flags, unsigned m, unsigned n);
/// Replaces the dimensions (at least two; trailing ones beyond the second are dropped). False, and the array
/// unchanged, when there is no memory for them.
bool storeDimensions(kxArray* array, std::span<const unsigned> dims) noexcept;
/// Drops the array's hold on its data and dimension blocks; the header stays.
void freeContent(kxArray* array) noexcept;

} // namespace kxrt

#endif
