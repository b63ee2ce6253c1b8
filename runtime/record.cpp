#include "record.hpp"

#include "kx_runtime.hpp"
#include "small_blocks.hpp"

#include <algorithm>
#include <limits>
#include <new>

// ---- Members of kxArray ----

const unsigned* kxArray::get_dimensions() const
{
    const kxrt::ArrayRecord* self = kxrt::record(this);
    return ndims > 2 ? self->manyDims : self->matrixDims;
}

bool kxArray::is_colon_index() const
{
    return kxrt::record(this)->bareColon;
}

kxClassID kxArray::_get_class_id_non_trivial() const
{
    return kxrt::classOf(this);
}

namespace kxrt {
namespace {

[[gnu::always_inline]] inline void dropContent(const kxArray* array, BlockSink& blocks) noexcept
{
    blocks.drop(array->pr);
    blocks.drop(array->pi);
    blocks.drop(array->ir);
    blocks.drop(array->jc);
    blocks.drop(record(array)->manyDims);
}

} // namespace

std::uint64_t productOf(std::span<const unsigned> dims)
{
    if (std::find(dims.begin(), dims.end(), 0U) != dims.end()) {
        return 0;
    }
    std::uint64_t product = 1;
    for (const unsigned dim : dims) {
        if (__builtin_mul_overflow(product, dim, &product)) {
            return std::numeric_limits<std::uint64_t>::max();
        }
    }
    return product;
}

void ArrayRelease::operator()(kxArray* array) const noexcept
{
    BlockSink blocks;
    dropContent(array, blocks);
    blocks.drop(array);
}

ArrayOwner newRecord(kxClassID id, unsigned flags, unsigned m, unsigned n)
{
    return ArrayOwner(new (allocate(1, sizeof(ArrayRecord))) ArrayRecord(id, flags, m, n));
}

bool storeDimensions(kxArray* array, std::span<const unsigned> dims) noexcept
{
    while (dims.size() > 2 && dims.back() == 1) {
        dims = dims.first(dims.size() - 1);
    }
    unsigned* many = nullptr;
    if (dims.size() > 2) {
        many = static_cast<unsigned*>(matrix::detail::noninlined::kx_array_api::kxMallocEx(dims.size_bytes()));
        if (many == nullptr) {
            return false;
        }
    }
    ArrayRecord* target = record(array);
    std::copy(dims.begin(), dims.end(), many != nullptr ? many : target->matrixDims);
    release(target->manyDims); // after the copy: `dims` may be the old dimensions themselves
    target->manyDims = many;
    target->ndims = static_cast<unsigned>(dims.size());
    return true;
}

void freeContent(kxArray* array) noexcept
{
    BlockSink blocks;
    dropContent(array, blocks);
}

void hide_class(kxArray* array)
{
    if (array->class_id <= 16) {
        array->class_id = static_cast<kxClassID>(array->class_id + kHiddenClassOffset);
    }
}

} // namespace kxrt
