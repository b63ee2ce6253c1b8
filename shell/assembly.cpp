#include "assembly.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <algorithm>
#include <cstdint>

namespace kxsh {

namespace {

struct Key
{
    unsigned row;
    unsigned column;
    unsigned position; ///< in the lists
};

bool inColumnOrder(const Triplets& triplets)
{
    for (std::size_t k = 1; k < triplets.rows.size(); ++k) {
        const unsigned before = triplets.columns[k - 1];
        const unsigned here = triplets.columns[k];
        if (here < before || (here == before && triplets.rows[k] < triplets.rows[k - 1])) {
            return false;
        }
    }
    return true;
}

/// One stable counting pass: keys ordered by digit(key), which is below `digits`.
template <typename Digit>
void countingPass(std::vector<Key>& keys, std::vector<Key>& scratch, std::size_t digits, Digit digit)
{
    pollInterrupt();
    std::vector<std::size_t> next(digits + 1);
    for (const Key& key : keys) {
        ++next[digit(key) + 1];
    }
    for (std::size_t d = 1; d <= digits; ++d) {
        next[d] += next[d - 1];
    }
    scratch.resize(keys.size());
    for (const Key& key : keys) {
        scratch[next[digit(key)]++] = key;
    }
    keys.swap(scratch);
}

/// The entries ordered by column, then row, then position: counted by the halves of the row, so that a tall matrix
/// needs no table of its rows, and then by the column.
std::vector<Key> columnOrder(const Triplets& triplets, unsigned m, unsigned n)
{
    constexpr unsigned kHalf = 1U << 16;
    std::vector<Key> keys(triplets.rows.size());
    for (std::size_t k = 0; k < keys.size(); ++k) {
        keys[k] = {triplets.rows[k], triplets.columns[k], static_cast<unsigned>(k)};
    }
    if (inColumnOrder(triplets)) {
        return keys;
    }
    std::vector<Key> scratch;
    countingPass(keys, scratch, std::min(m, kHalf), [](const Key& key) { return key.row % kHalf; });
    if (m > kHalf) {
        countingPass(keys, scratch, (m - 1) / kHalf + 1, [](const Key& key) { return key.row / kHalf; });
    }
    countingPass(keys, scratch, n, [](const Key& key) { return key.column; });
    return keys;
}

/// Sums the entries of each place into its first key's position and keeps one key per non-zero sum.
void mergePlaces(std::vector<Key>& keys, std::vector<double>& re, std::vector<double>& im)
{
    std::size_t kept = 0;
    for (std::size_t k = 0; k < keys.size();) {
        const Key key = keys[k];
        const std::size_t at = key.position;
        for (++k; k < keys.size() && keys[k].row == key.row && keys[k].column == key.column; ++k) {
            re[at] += re[keys[k].position];
            if (!im.empty()) {
                im[at] += im[keys[k].position];
            }
        }
        if (re[at] != 0 || (!im.empty() && im[at] != 0)) {
            keys[kept++] = key;
        }
    }
    keys.resize(kept);
}

} // namespace

void Triplets::reserve(std::size_t count, bool complex)
{
    rows.reserve(count);
    columns.reserve(count);
    re.reserve(count);
    if (complex) {
        im.reserve(count);
    }
}

Value assemble(Triplets triplets, unsigned m, unsigned n)
{
    if (triplets.rows.size() > kx::kxGetMaxNumberOfElements()) {
        throw Error("kx:sizeLimit", "too many entries for one sparse array");
    }
    const bool complex = !triplets.im.empty();
    std::vector<Key> keys = columnOrder(triplets, m, n);
    mergePlaces(keys, triplets.re, triplets.im);

    Value result =
        Value::sparse(m, n, static_cast<unsigned>(keys.size()), kxDOUBLE_CLASS, complex ? kxCOMPLEX : kxREAL);
    unsigned* starts = result.starts();
    for (std::size_t k = 0; k < keys.size(); ++k) {
        ++starts[keys[k].column + 1];
        result.rowIndices()[k] = keys[k].row;
        result.data<double>()[k] = triplets.re[keys[k].position];
    }
    for (unsigned j = 0; j < n; ++j) {
        starts[j + 1] += starts[j];
    }
    if (complex) {
        for (std::size_t k = 0; k < keys.size(); ++k) {
            result.imagData<double>()[k] = triplets.im[keys[k].position];
        }
        kx::kxFreeImagIfZero(result.get());
    }
    return result;
}

void appendEntries(Triplets& triplets, const Value& sparse, unsigned rowOffset, unsigned columnOffset, bool complex,
                   double factor)
{
    const Value values = converted(sparse, kxDOUBLE_CLASS);
    const double* im = values.imagData<double>();
    triplets.reserve(triplets.rows.size() + values.entries(), complex);
    for (unsigned j = 0; j < values.columns(); ++j) {
        for (unsigned k = values.starts()[j]; k < values.starts()[j + 1]; ++k) {
            triplets.push(rowOffset + values.rowIndices()[k], columnOffset + j, factor * values.data<double>()[k]);
            if (complex) {
                triplets.im.push_back(im != nullptr ? factor * im[k] : 0);
            }
        }
    }
}

} // namespace kxsh
