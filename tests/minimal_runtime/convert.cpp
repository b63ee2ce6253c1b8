// Conversion between the two storages, transposition, ranges.
#include "minimal_runtime.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <stdexcept>
#include <vector>

using namespace minrt;

namespace {

struct Entry
{
    unsigned row;
    unsigned column;
    std::complex<double> value;
};

/// The entries that are not zero, column by column.
std::vector<Entry> entriesOf(const kxArray* array)
{
    std::vector<Entry> entries;
    const bool sparse = array->jc != nullptr;
    const unsigned m = array->get_dimensions()[0];
    for (unsigned at = 0, column = 0; at < kxGetNumNonZeroEl(array); ++at) {
        while (at >= (sparse ? array->jc[column + 1] : (column + 1) * m)) {
            ++column;
        }
        const double re = static_cast<double*>(array->pr)[at];
        const double im = array->pi != nullptr ? static_cast<double*>(array->pi)[at] : 0;
        if (re != 0 || im != 0) {
            entries.push_back({sparse ? array->ir[at] : at % m, column, {re, im}});
        }
    }
    return entries;
}

/// An m-by-n array of these entries, which come column by column, in the storage and with the parts of `like`.
kxArray* assemble(const std::vector<Entry>& entries, unsigned m, unsigned n, bool sparse, const kxArray* like)
{
    const kxComplexity complexity = like->pi != nullptr ? kxCOMPLEX : kxREAL;
    const auto count = static_cast<unsigned>(entries.size());
    kxArray* array = sparse ? kxCreateSparseNumericMatrix(m, n, std::max(count, 1U), kxDOUBLE_CLASS, complexity)
                            : kxCreateDoubleMatrix(m, n, complexity);
    for (unsigned e = 0; e < count; ++e) {
        const auto& [row, column, value] = entries[e];
        const std::size_t at = sparse ? e : std::size_t{column} * m + row;
        static_cast<double*>(array->pr)[at] = value.real();
        if (array->pi != nullptr) {
            static_cast<double*>(array->pi)[at] = value.imag();
        }
        if (sparse) {
            array->ir[e] = row;
            std::for_each(array->jc + column + 1, array->jc + n + 1, [](unsigned& start) { ++start; });
        }
    }
    return array;
}

kxArray* itself(const kxArray* array)
{
    return const_cast<kxArray*>(array); // NOLINT(cppcoreguidelines-pro-type-const-cast): as the interface has it
}

kxArray* inStorage(const kxArray* array, bool sparse)
{
    const bool same = (array->jc != nullptr) == sparse;
    return same ? itself(array) : assemble(entriesOf(array), array->get_dimensions()[0], kxGetN(array), sparse, array);
}

} // namespace

namespace matrix::detail::noninlined::kx_array_api {

kxArray* kxMustBe(const kxArray* array, kxClassID id)
{
    return array->class_id == id ? itself(array)
                                 : throw std::invalid_argument("the minimal runtime converts no classes");
}

kxArray* kxMustBeSparse(const kxArray* array)
{
    const kxArray* const values = (array->flags & kxFLAG_COLON_OBJECT) != 0 ? kxMustBeFull(array) : array;
    kxArray* const sparse = inStorage(values, true);
    if (values != array) {
        kxDestroyArray(itself(values));
    }
    return sparse;
}

kxArray* kxMustBeFull(const kxArray* array)
{
    if ((array->flags & kxFLAG_COLON_OBJECT) != 0) {
        double range[3];
        kxGetColonObjValues(array, range);
        return kxColonop(range[0], range[1], range[2], kxDOUBLE_CLASS);
    }
    return inStorage(array, false);
}

kxArray* kxTranspose(const kxArray* array)
{
    std::vector<Entry> entries = entriesOf(array);
    for (Entry& entry : entries) {
        std::swap(entry.row, entry.column);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.column < b.column; });
    return assemble(entries, kxGetN(array), array->get_dimensions()[0], array->jc != nullptr, array);
}

kxArray* kxColonop(double start, double step, double stop, kxClassID /*id*/)
{
    kxArray* array = kxCreateDoubleMatrix(1, countOf(start, step, stop), kxREAL);
    for (unsigned i = 0; i < kxGetN(array); ++i) {
        static_cast<double*>(array->pr)[i] = start + i * step;
    }
    return array;
}

} // namespace matrix::detail::noninlined::kx_array_api
