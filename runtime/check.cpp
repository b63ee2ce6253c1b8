// Whether a sparse array keeps its promises.
#include "elements.hpp"
#include "kx_runtime.hpp"
#include "record.hpp"

#include <string>

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

namespace {

std::string text(unsigned long long number)
{
    return std::to_string(number);
}

/// Whether the blocks are there and hold what the record says.
std::string checkBlocks(const kxArray* array, unsigned n)
{
    const std::size_t capacity = array->nzmax;
    const std::size_t size = elementSize(classOf(array));
    const struct
    {
        const char* what;
        const void* block;
        std::size_t needed;
        bool optional;
    } blocks[] = {{"column starts", array->jc, (std::size_t{n} + 1) * sizeof(unsigned), false},
                  {"rows", array->ir, capacity * sizeof(unsigned), capacity == 0},
                  {"values", array->pr, capacity * size, capacity == 0},
                  {"imaginary parts", array->pi, capacity * size, true}};
    for (const auto& [what, block, needed, optional] : blocks) {
        if (block == nullptr && !optional) {
            return std::string("no ") + what;
        }
        if (block != nullptr && blockSize(block) < needed) {
            return std::string("the ") + what + " take " + text(needed) + " bytes of a block of " +
                   text(blockSize(block));
        }
    }
    return {};
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
    if (array->pi != nullptr && !flagged) {
        return "imaginary parts that the flags deny";
    }
    const unsigned m = array->get_dimensions()[0];
    const unsigned n = array->get_dimensions()[1];
    std::string violation = checkBlocks(array, n);
    if (violation.empty()) {
        violation = checkColumnStarts(array, n);
    }
    return violation.empty() ? checkRows(array, m, n) : violation;
}

} // namespace matrix::detail::noninlined::kx_array_api
