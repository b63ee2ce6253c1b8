// Whether a sparse array keeps its promises.
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"
#include "record.hpp"

#include <atomic>
#include <string>

namespace kxrt {
namespace {

#ifdef ZQSP_CHECK_OPERANDS
constexpr bool kChecksAtStart = true;
#else
constexpr bool kChecksAtStart = false;
#endif
constinit std::atomic<int> checksOperands{kChecksAtStart}; // a word: not every processor exchanges bytes

} // namespace

bool check_operands(bool check)
{
    return checksOperands.exchange(check, std::memory_order_relaxed) != 0;
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

namespace {

std::string text(unsigned long long number)
{
    return std::to_string(number);
}

/// Whether the blocks are there. Their sizes are not looked at: they may be lent by somebody else.
std::string checkBlocks(const kxArray* array)
{
    const bool needsEntries = array->nzmax > 0;
    if (array->jc == nullptr) {
        return "no column starts";
    }
    if (needsEntries && array->ir == nullptr) {
        return "no rows";
    }
    return needsEntries && array->pr == nullptr ? "no values" : "";
}

std::string checkColumnStarts(const kxArray* array, unsigned n)
{
    if (array->jc[0] != 0) {
        return "column 1 starts at entry " + text(array->jc[0]) + " instead of 0";
    }
    for (unsigned j = 0; j < n; ++j) {
        if (array->jc[j + 1] < array->jc[j]) {
            return "column " + text(j + 1ULL) + " ends before it starts (" + text(array->jc[j + 1]) + " < " +
                   text(array->jc[j]) + ")";
        }
    }
    if (array->jc[n] > array->nzmax) {
        return text(array->jc[n]) + " stored entries exceed the capacity " + text(array->nzmax);
    }
    return {};
}

std::string checkRows(const kxArray* array, unsigned m, unsigned n)
{
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            const auto where = [&] { return "entry " + text(e) + " of column " + text(j + 1ULL); };
            if (array->ir[e] >= m) {
                return where() + " lies in row " + text(array->ir[e] + 1ULL) + " of " + text(m);
            }
            if (e > array->jc[j] && array->ir[e] <= array->ir[e - 1]) {
                return where() + " lies in row " + text(array->ir[e] + 1ULL) + ", not behind row " +
                       text(array->ir[e - 1] + 1ULL);
            }
        }
    }
    return {};
}

} // namespace

std::string kxCheckSparse(const kxArray* array)
{
    if (!isSparse(array)) {
        return "the array is not sparse";
    }
    if (!isKnownClass(classOf(array))) {
        return "class " + text(classOf(array)) + " holds no elements";
    }
    if (array->ndims != 2) {
        return "a sparse array of " + text(array->ndims) + " dimensions";
    }
    const bool flagged = (array->flags & kxFLAG_MAY_BE_COMPLEX) != 0;
    if (flagged && !mayBeComplex(classOf(array))) {
        return "class " + text(classOf(array)) + " flagged as one that may be complex";
    }
    const unsigned m = array->get_dimensions()[0];
    const unsigned n = array->get_dimensions()[1];
    std::string violation = checkBlocks(array);
    if (violation.empty()) {
        violation = checkColumnStarts(array, n);
    }
    return violation.empty() ? checkRows(array, m, n) : violation;
}

void kxCheckOperand(const kxArray* array)
{
    if (checksOperands.load(std::memory_order_relaxed) == 0) {
        return;
    }
    const std::string violation = isSparse(array) ? kxCheckSparse(array) : std::string();
    if (!violation.empty()) {
        raiseInvalidOperand("A broken operand: " + violation + ".");
    }
}

} // namespace matrix::detail::noninlined::kx_array_api
