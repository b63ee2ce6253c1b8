#include "colon.hpp"

#include "convert_elements.hpp"
#include "create.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace kxrt {
namespace {

/// The number of values, which may be infinite.
double exactCount(const Range& range)
{
    const double steps = (range.stop - range.start) / range.step;
    if (range.step == 0 || !(steps >= 0)) {
        return 0;
    }
    const double whole = std::floor(steps);
    // The ends carry rounding errors of their own size; in steps these are this many.
    const double ends = std::max(std::abs(range.start), std::abs(range.stop));
    const double error = 2 * std::numeric_limits<double>::epsilon() * ends / std::abs(range.step);
    constexpr double kMostError = 1e-3; // of a step: where the ends are coarser than that, nothing can be mended
    const bool reachesNext = whole + 1 - steps <= std::min(error, kMostError);
    return whole + (reachesNext ? 2 : 1);
}

std::string rangeText(const Range& range)
{
    return textOf(range.start) + ":" + textOf(range.step) + ":" + textOf(range.stop);
}

void requireValues(const kxArray* colonObject)
{
    if (colonObject->is_colon_index()) {
        raiseInvalidOperand("The bare colon has no values of its own.");
    }
}

/// Elements of `id` from the values, converted in pieces so that no second block is needed.
void fillValues(const Range& range, kxArray* target, kxClassID id, unsigned count)
{
    constexpr unsigned kPiece = 256;
    double piece[kPiece];
    auto* to = static_cast<std::byte*>(target->pr);
    for (unsigned done = 0; done < count;) {
        const unsigned length = std::min(kPiece, count - done);
        for (unsigned i = 0; i < length; ++i) {
            piece[i] = valueAt(range, done + i);
        }
        convertRun(piece, kxDOUBLE_CLASS, to + done * elementSize(id), id, length);
        done += length;
    }
}

ArrayOwner rangeValues(const Range& range, kxClassID id)
{
    const unsigned count = countOf(range);
    const unsigned dims[] = {1, count};
    ArrayOwner made = newFull(dims, id, kxREAL);
    fillValues(range, made.get(), id, count);
    return made;
}

} // namespace

unsigned countOf(const Range& range)
{
    const double count = exactCount(range);
    const unsigned most = matrix::detail::noninlined::kx_array_api::kxGetMaxNumberOfElements();
    if (count > most) {
        raiseSizeLimit("The range " + rangeText(range) + " has " + textOf(count) +
                       " values, above the largest number of elements, " + std::to_string(most) + ".");
    }
    return static_cast<unsigned>(count);
}

unsigned countSaturated(const Range& range)
{
    const unsigned most = matrix::detail::noninlined::kx_array_api::kxGetMaxNumberOfElements();
    const double count = exactCount(range);
    return count < most ? static_cast<unsigned>(count) : most;
}

double range_count(const kxArray* colonObject)
{
    requireValues(colonObject);
    return exactCount(record(colonObject)->range);
}

double valueAt(const Range& range, unsigned index)
{
    if (index == 0) {
        return range.start; // also where the step is infinite
    }
    const double value = range.start + index * range.step;
    return range.step > 0 ? std::min(value, range.stop) : std::max(value, range.stop);
}

ArrayOwner valuesOf(const kxArray* colonObject, kxClassID id)
{
    requireValues(colonObject);
    return rangeValues(record(colonObject)->range, id);
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

int* kxSignedIndexColonop(double start, double step, double stop, unsigned* count)
{
    const Range range{start, step, stop};
    const unsigned values = countOf(range);
    auto* indices = static_cast<int*>(allocate(values, sizeof(int)));
    for (unsigned i = 0; i < values; ++i) {
        const double value = valueAt(range, i);
        // Whole values saturate at the ends of int in the conversion.
        const double whole = std::trunc(value) == value ? value : 0;
        convertRun(&whole, kxDOUBLE_CLASS, &indices[i], kxINT32_CLASS, 1);
    }
    *count = values;
    return indices;
}

kxArray* kxColonop(double start, double step, double stop, kxClassID id)
{
    return rangeValues({start, step, stop}, id).release();
}

} // namespace matrix::detail::noninlined::kx_array_api
