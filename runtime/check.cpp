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

/// What is wrong with a block that is to hold this much; where nothing is to be held there need be none.
std::string checkBlock(const char* what, const void* block, std::size_t count, std::size_t size)
{
    const std::size_t needed = count * size;
    if (block == nullptr) {
        return needed == 0 ? "" : std::string("no ") + what;
    }
    const std::size_t held = blockSize(block);
    return held >= needed ? ""
                          : std::string("the ") + what + " take " + text(needed) + " bytes of a block of " + text(held);
}

std::string checkBlocks(const kxArray* array, unsigned n)
{
    const std::size_t size = elementSize(classOf(array));
    std::string violation = checkBlock("column starts", array->jc, std::size_t{n} + 1, sizeof(unsigned));
    if (violation.empty()) {
        violation = checkBlock("rows", array->ir, array->nzmax, sizeof(unsigned));
    }
    if (violation.empty()) {
        violation = checkBlock("values", array->pr, array->nzmax, size);
    }
    if (violation.empty() && array->pi != nullptr) {
        violation = checkBlock("imaginary parts", array->pi, array->nzmax, size);
    }
    return violation;
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
