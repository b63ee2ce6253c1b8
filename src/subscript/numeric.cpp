// Numeric subscripts of every class, read in one pass: a block of values is tested and stored without a branch per
// value, and only a block that holds a bad value is read again by the exact rules, which decide the status.
#include "kernels/kernels.hpp"
#include "subscript/convert.hpp"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zqsp {

namespace {

/// The exact rules for one floating-point value; `most` is the maximum number of elements. Below one comes first, then
/// the maximum; past the extent and fractional are told apart in opposite orders by deletion and by all else.
template <std::floating_point T>
spStatus checkValue(T x, const Extent& extent, unsigned most)
{
    if (x < T(1)) {
        return spIndexBelowOne;
    }
    if (x > static_cast<T>(most)) {
        return std::isinf(x) ? spIndexNotPositiveInteger : spIndexExceedsMaxSize;
    }
    if (std::isnan(x)) {
        return spIndexNotPositiveInteger;
    }
    const auto index = static_cast<unsigned>(static_cast<std::int64_t>(x));
    const bool isInteger = x == static_cast<T>(index);
    const bool isOutside = index > extent.limit || (index == extent.limit && !isInteger);
    if (extent.deleting() && isOutside) {
        return extent.outOfRange;
    }
    if (!isInteger) {
        return spIndexNotPositiveInteger;
    }
    return isOutside ? extent.outOfRange : spOK;
}

/// The exact rules for one integer value. Classes whose values can pass the maximum are tested against it first.
template <std::integral T>
spStatus checkValue(T value, const Extent& extent, [[maybe_unused]] unsigned most)
{
    if (value < 1) {
        return spIndexNotPositiveInteger;
    }
    const auto index = static_cast<std::uint64_t>(value);
    if constexpr (std::numeric_limits<T>::max() > std::numeric_limits<std::int32_t>::max()) {
        if (index > most) {
            return spIndexExceedsMaxSize;
        }
    }
    return index > extent.limit ? extent.outOfRange : spOK;
}

/// Stores value - 1 of each value. The answer is false when some value is not an integer in 1 .. highest, which is
/// below 2^31; what is stored then is not meant to be used.
template <typename T>
bool storeIndices(const T* values, unsigned count, T highest, unsigned* indices)
{
    using Word = std::conditional_t<std::floating_point<T>, std::int32_t, T>;
    bool allGood = true;
    for (unsigned i = 0; i < count; ++i) {
        const bool inRange = values[i] >= T(1) && values[i] <= highest;
        const T value = inRange ? values[i] : T(1);
        const auto word = static_cast<Word>(value);
        indices[i] = static_cast<unsigned>(word) - 1U;
        allGood &= inRange & (static_cast<T>(word) == value);
    }
    return allGood;
}

bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    return kernels().storeIndices(values, count, highest, indices);
}

/// The largest value the branch-free pass may accept: the extent, as far as the class and a signed word reach.
template <typename T>
T highestPlainValue(const Extent& extent)
{
    const std::uint64_t highest =
        std::min<std::uint64_t>({extent.limit, kxGetMaxNumberOfElements(), std::numeric_limits<std::int32_t>::max()});
    if constexpr (std::integral<T>) {
        return static_cast<T>(
            std::min<std::uint64_t>(highest, static_cast<std::uint64_t>(std::numeric_limits<T>::max())));
    } else if constexpr (std::same_as<T, float>) {
        constexpr std::uint64_t kLastExactFloat = 1U << 24U; // beyond it singles round, and the exact rules must speak
        return static_cast<T>(std::min(highest, kLastExactFloat));
    } else {
        return static_cast<T>(highest);
    }
}

template <typename T>
spStatus storeByExactRules(const T* values, unsigned count, const Extent& extent, unsigned* indices)
{
    const unsigned most = kxGetMaxNumberOfElements();
    for (unsigned i = 0; i < count; ++i) {
        const spStatus status = checkValue(values[i], extent, most);
        if (status != spOK) {
            return status;
        }
        indices[i] = static_cast<unsigned>(static_cast<std::uint64_t>(values[i])) - 1U;
    }
    return spOK;
}

/// What is learnt of the order of a list while it is made.
class OrderWatch
{
  public:
    /// The indices begin .. end-1 are there, as are those before.
    void see(const unsigned* indices, unsigned begin, unsigned end)
    {
        if (begin == 0) {
            step_ = end > 1 ? indices[1] - indices[0] : 0;
            begin = 1;
        }
        const Steps steps = kernels().stepsTo(indices + begin, end - begin, step_);
        falls_ |= steps.fall;
        rises_ |= steps.rise;
        regular_ &= !steps.irregular;
    }

    [[nodiscard]] Order order() const
    {
        return !falls_ ? Order::kAscending : (rises_ ? Order::kUnsorted : Order::kDescending);
    }
    /// Whether the list is an arithmetic progression with a signed stride. (A step past 31 bits has none, and the
    /// lowest signed word no opposite.)
    [[nodiscard]] bool isProgression() const
    {
        return regular_ && rises_ != falls_ && step_ != 0x80000000U && (stride() > 0) == rises_;
    }
    [[nodiscard]] int stride() const { return static_cast<int>(step_); }

  private:
    unsigned step_ = 0; // from the first index to the second, modulo 2^32
    bool falls_ = false;
    bool rises_ = false;
    bool regular_ = true;
};

template <typename T>
spStatus storeAll(const void* data, unsigned count, const Extent& extent, unsigned* indices, OrderWatch& watch)
{
    constexpr unsigned kBlock = 1024; // stays in the first-level cache between the readings
    const auto* values = static_cast<const T*>(data);
    const T highest = highestPlainValue<T>(extent);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        if (!storeIndices(values + done, size, highest, indices + done)) {
            const spStatus status = storeByExactRules(values + done, size, extent, indices + done);
            if (status != spOK) {
                return status;
            }
        }
        watch.see(indices, done, done + size);
    }
    return spOK;
}

/// Calls the converter of the subscript's class: the class is looked at once, outside the loop.
spStatus storeByClass(const kxArray* subscript, kxClassID id, unsigned count, const Extent& extent, unsigned* indices,
                      OrderWatch& watch)
{
    const void* data = subscript->pr;
    switch (id) {
    case kxCHAR_CLASS:
    case kxUINT16_CLASS:
        return storeAll<std::uint16_t>(data, count, extent, indices, watch);
    case kxSINGLE_CLASS:
        return storeAll<float>(data, count, extent, indices, watch);
    case kxINT8_CLASS:
        return storeAll<std::int8_t>(data, count, extent, indices, watch);
    case kxUINT8_CLASS:
        return storeAll<std::uint8_t>(data, count, extent, indices, watch);
    case kxINT16_CLASS:
        return storeAll<std::int16_t>(data, count, extent, indices, watch);
    case kxINT32_CLASS:
        return storeAll<std::int32_t>(data, count, extent, indices, watch);
    case kxUINT32_CLASS:
        return storeAll<std::uint32_t>(data, count, extent, indices, watch);
    case kxINT64_CLASS:
        return storeAll<std::int64_t>(data, count, extent, indices, watch);
    case kxUINT64_CLASS:
        return storeAll<std::uint64_t>(data, count, extent, indices, watch);
    default:
        return storeAll<double>(data, count, extent, indices, watch);
    }
}

bool isConvertible(kxClassID id)
{
    constexpr unsigned kNoClass = 5;
    return id >= kxCHAR_CLASS && id <= kxUINT64_CLASS && id != kNoClass;
}

/// The simplest form of a list: an arithmetic progression becomes a range.
Subscript simplestForm(Block<unsigned> indices, unsigned count, const OrderWatch& watch)
{
    if (count == 0) {
        return IndexRange();
    }
    if (watch.isProgression()) {
        return IndexRange(indices[0], indices[count - 1], watch.stride(), count);
    }
    return IndexList(std::move(indices), count, watch.order());
}

} // namespace

spStatus convertNumeric(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    if (isSparse(subscript) && kxGetNumNonZeroEl(subscript) < elementsOf(subscript)) {
        return spIndexBelowOne; // it holds zeros
    }
    const auto count = static_cast<unsigned>(elementsOf(subscript));
    if (isComplex(subscript)) {
        return spIndexNotPositiveInteger;
    }
    Operand numbers(subscript);
    kxClassID id = classOf(subscript);
    if (!isConvertible(id)) {
        numbers.become(kxMustBe(subscript, kxDOUBLE_CLASS));
        id = kxDOUBLE_CLASS;
    }
    OrderWatch watch;
    if (count == 1) { // a single number needs no list
        unsigned index = 0;
        const spStatus status = storeByClass(numbers.get(), id, 1, extent, &index, watch);
        if (status == spOK) {
            form = IndexRange(index, index, 1, 1);
        }
        return status;
    }
    auto indices = Block<unsigned>::make(count);
    const spStatus status = storeByClass(numbers.get(), id, count, extent, indices.get(), watch);
    if (status == spOK) {
        form = simplestForm(std::move(indices), count, watch);
    }
    return status;
}

} // namespace zqsp
