// Conversion between the two classes and the two storages, transposition, ranges.
#include "minimal_runtime.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

using minrt::Record;

namespace {

struct Entry
{
    unsigned row;
    unsigned column;
    double re;
    double im;
};

double valueAt(const void* block, kxClassID id, std::size_t at)
{
    if (block == nullptr) {
        return 0;
    }
    return id == kxDOUBLE_CLASS ? static_cast<const double*>(block)[at] : static_cast<const unsigned char*>(block)[at];
}

void store(void* block, kxClassID id, std::size_t at, double value)
{
    if (id == kxDOUBLE_CLASS) {
        static_cast<double*>(block)[at] = value;
    } else {
        static_cast<unsigned char*>(block)[at] = value != 0 ? 1 : 0;
    }
}

/// The entries that are not zero, column by column.
std::vector<Entry> entriesOf(const kxArray* array)
{
    std::vector<Entry> entries;
    const unsigned m = array->get_dimensions()[0];
    const auto add = [&](unsigned i, unsigned j, std::size_t at) {
        const Entry entry{i, j, valueAt(array->pr, array->class_id, at), valueAt(array->pi, array->class_id, at)};
        if (entry.re != 0 || entry.im != 0) {
            entries.push_back(entry);
        }
    };
    for (unsigned j = 0; j < minrt::kxGetN(array); ++j) {
        if (array->jc != nullptr) {
            for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
                add(array->ir[e], j, e);
            }
        } else {
            for (unsigned i = 0; i < m; ++i) {
                add(i, j, std::size_t{j} * m + i);
            }
        }
    }
    return entries;
}

kxComplexity complexityOf(const kxArray* array, kxClassID id)
{
    return array->pi != nullptr && id == kxDOUBLE_CLASS ? kxCOMPLEX : kxREAL;
}

/// An array of these entries, which come column by column.
kxArray* assemble(const std::vector<Entry>& entries, unsigned m, unsigned n, kxClassID id, bool sparse,
                  kxComplexity cplx)
{
    kxArray* array = nullptr;
    if (sparse) {
        array = minrt::kxCreateSparseNumericMatrix(m, n, std::max<unsigned>(static_cast<unsigned>(entries.size()), 1),
                                                   id, cplx);
    } else {
        array = id == kxDOUBLE_CLASS ? minrt::kxCreateDoubleMatrix(m, n, cplx) : minrt::createMask(m, n);
    }
    for (std::size_t e = 0; e < entries.size(); ++e) {
        const Entry& entry = entries[e];
        const std::size_t at = sparse ? e : std::size_t{entry.column} * m + entry.row;
        store(array->pr, id, at, entry.re);
        if (array->pi != nullptr) {
            store(array->pi, id, at, entry.im);
        }
        if (sparse) {
            array->ir[e] = entry.row;
            ++array->jc[entry.column + 1];
        }
    }
    if (sparse) {
        std::partial_sum(array->jc, array->jc + n + 1, array->jc);
    }
    return array;
}

kxArray* convert(const kxArray* array, kxClassID id, bool sparse)
{
    return assemble(entriesOf(array), array->get_dimensions()[0], minrt::kxGetN(array), id, sparse,
                    complexityOf(array, id));
}

kxArray* itself(const kxArray* array)
{
    return const_cast<kxArray*>(array); // NOLINT(cppcoreguidelines-pro-type-const-cast): as the interface has it
}

} // namespace

namespace matrix::detail::noninlined::kx_array_api {

kxArray* kxMustBe(const kxArray* array, kxClassID id)
{
    minrt::sizeOf(id);
    return array->class_id == id ? itself(array) : convert(array, id, array->jc != nullptr);
}

kxArray* kxMustBeSparse(const kxArray* array)
{
    return array->jc != nullptr ? itself(array) : convert(array, array->class_id, true);
}

kxArray* kxMustBeFull(const kxArray* array)
{
    if ((array->flags & kxFLAG_COLON_OBJECT) != 0) {
        const double* range = static_cast<const Record*>(array)->range;
        return kxColonop(range[0], range[1], range[2], kxDOUBLE_CLASS);
    }
    return array->jc == nullptr ? itself(array) : convert(array, array->class_id, false);
}

kxArray* kxTranspose(const kxArray* array)
{
    std::vector<Entry> entries = entriesOf(array);
    for (Entry& entry : entries) {
        std::swap(entry.row, entry.column);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.column < b.column; });
    return assemble(entries, kxGetN(array), array->get_dimensions()[0], array->class_id, array->jc != nullptr,
                    complexityOf(array, array->class_id));
}

kxArray* kxColonop(double start, double step, double stop, kxClassID id)
{
    if (id != kxDOUBLE_CLASS) {
        minrt::unsupported("range of class " + std::to_string(id));
    }
    const double steps = step == 0 ? -1 : (stop - start) / step;
    const unsigned count = steps < 0 ? 0 : static_cast<unsigned>(steps) + 1;
    kxArray* array = kxCreateDoubleMatrix(1, count, kxREAL);
    for (unsigned i = 0; i < count; ++i) {
        static_cast<double*>(array->pr)[i] = start + i * step;
    }
    return array;
}

int* kxSignedIndexColonop(double start, double step, double stop, unsigned* count)
{
    kxArray* values = kxColonop(start, step, stop, kxDOUBLE_CLASS);
    *count = kxGetN(values);
    auto* indices = static_cast<int*>(kxMalloc(std::size_t{*count} * sizeof(int)));
    for (unsigned i = 0; i < *count; ++i) {
        const double value = std::clamp(static_cast<double*>(values->pr)[i], -2147483648.0, 2147483647.0);
        indices[i] = value == std::floor(value) ? static_cast<int>(value) : 0;
    }
    kxDestroyArray(values);
    return indices;
}

} // namespace matrix::detail::noninlined::kx_array_api
