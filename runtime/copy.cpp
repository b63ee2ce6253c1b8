// Copies of arrays, sharing data or not.
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"
#include "record.hpp"

namespace kxrt {
namespace {

/// A header like that of `array` (stored class, flags, dimensions, capacity, range), of temporary scope, without data.
ArrayOwner copyHeader(const kxArray* array)
{
    ArrayOwner made = newRecord(array->class_id, array->flags, 0, 0);
    if (!storeDimensions(made.get(), dimensions(array))) {
        raiseOutOfMemory(dimensions(array).size_bytes());
    }
    made->nzmax = array->nzmax;
    record(made.get())->range = record(array)->range;
    record(made.get())->bareColon = record(array)->bareColon;
    return made;
}

/// A new block for `capacity` elements with the first `used` of them copied; null for null.
template <typename T>
T* copyBlock(T* block, std::size_t used, std::size_t capacity, std::size_t size)
{
    if (block == nullptr) {
        return nullptr;
    }
    void* copy = allocate(capacity, size);
    copyElements(copy, block, used, size);
    return static_cast<T*>(copy);
}

template <typename T>
T* share(T* block) noexcept
{
    addHolder(block);
    return block;
}

/// Puts the owned copy of a block in its place and drops the old hold; nothing where no copy was made.
template <typename T>
void replaceBlock(T*& block, BlockOwner& copy) noexcept
{
    if (copy != nullptr) {
        BlockOwner old(block);
        block = static_cast<T*>(copy.release());
    }
}

BlockOwner privateCopy(const void* block)
{
    if (!isHeldByOthers(block)) {
        return nullptr;
    }
    BlockOwner copy(allocate(1, blockSize(block)));
    copyElements(copy.get(), block, blockSize(block), 1);
    return copy;
}

} // namespace

bool is_shared(const kxArray* array)
{
    return isHeldByOthers(array->pr) || isHeldByOthers(array->pi) || isHeldByOthers(array->ir) ||
           isHeldByOthers(array->jc);
}

void make_private(kxArray* array)
{
    BlockOwner pr = privateCopy(array->pr);
    BlockOwner pi = privateCopy(array->pi);
    BlockOwner ir = privateCopy(array->ir);
    BlockOwner jc = privateCopy(array->jc);
    replaceBlock(array->pr, pr);
    replaceBlock(array->pi, pi);
    replaceBlock(array->ir, ir);
    replaceBlock(array->jc, jc);
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxCreateSharedDataCopy(const kxArray* array)
{
    ArrayOwner made = copyHeader(array);
    made->pr = share(array->pr);
    made->pi = share(array->pi);
    made->ir = share(array->ir);
    made->jc = share(array->jc);
    return made.release();
}

kxArray* kxCreateDeepCopy(const kxArray* array)
{
    ArrayOwner made = copyHeader(array);
    const std::size_t size = elementSize(classOf(array));
    const std::size_t used = isSparse(array) ? entriesOf(array) : elementsOf(array);
    const std::size_t capacity = isSparse(array) ? array->nzmax : used;
    made->pr = copyBlock(array->pr, used, capacity, size);
    made->pi = copyBlock(array->pi, used, capacity, size);
    made->ir = copyBlock(array->ir, used, capacity, sizeof(unsigned));
    if (isSparse(array)) {
        const std::size_t words = std::size_t{columnsOf(array)} + 1;
        made->jc = copyBlock(array->jc, words, words, sizeof(unsigned));
    }
    return made.release();
}

kxArray* kxDuplicateArray(const kxArray* array)
{
    return kxCreateDeepCopy(array);
}

} // namespace matrix::detail::noninlined::kx_array_api
