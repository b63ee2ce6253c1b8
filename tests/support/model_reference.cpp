#include "support/model_operations.hpp"

#include <algorithm>
#include <bit>
#include <optional>

namespace zqsp::test {

bool isCountable(std::uint64_t m, std::uint64_t n)
{
    return m * n <= kxGetMaxNumberOfElements();
}

bool isReshape(unsigned m, unsigned n, unsigned newM, unsigned newN)
{
    return std::uint64_t{m} * n == std::uint64_t{newM} * newN;
}

Model reshaped(const Model& a, unsigned newM, unsigned newN)
{
    Model result = a;
    result.m = newM;
    result.n = newN;
    result.entries.clear();
    for (const auto& [place, value] : a.entries) {
        result.entries[result.place(a.linear(place))] = value;
    }
    return result;
}

bool usesRowMap(const Model& a, unsigned k)
{
    if (a.n == 0 || k == 0) {
        return false;
    }
    const unsigned average = std::max(a.nnz() / a.n, 1U);
    const auto bits = static_cast<unsigned>(std::bit_width(average));
    if (bits <= average / k) {
        return false;
    }
    return a.m <= 10U * a.nnz() || a.m <= 10U * k; // 32-bit products, wrapping
}

namespace {

Model emptyLike(const Model& a, std::size_t m, std::size_t n)
{
    return Model::empty(a.storage, static_cast<unsigned>(m), static_cast<unsigned>(n));
}

/// Capacity that the search sets aside: for each visited column as many entries as could be found.
unsigned searchCapacity(const Model& a, Positions rows, const Positions& columns)
{
    const std::size_t k = rows.size();
    std::sort(rows.begin(), rows.end());
    std::size_t repeats = 0;
    for (std::size_t i = 1; i < k; ++i) {
        repeats += rows[i] == rows[i - 1] ? 1U : 0U;
    }
    std::size_t capacity = 0;
    const std::map<unsigned, unsigned> counts = a.columnCounts();
    for (const std::uint64_t column : columns) {
        if (const auto found = counts.find(static_cast<unsigned>(column)); found != counts.end()) {
            capacity += std::min(found->second + repeats, k);
        }
    }
    return static_cast<unsigned>(capacity);
}

/// The sub-matrix of these rows (all when absent) and columns.
Model select(const Model& a, const std::optional<Positions>& rows, const Positions& columns)
{
    Model result = emptyLike(a, rows ? rows->size() : a.m, columns.size());
    std::multimap<unsigned, unsigned> newRows;
    for (unsigned p = 0; rows && p < rows->size(); ++p) {
        newRows.emplace(static_cast<unsigned>((*rows)[p]), p);
    }
    for (unsigned q = 0; q < columns.size(); ++q) {
        const auto column = static_cast<unsigned>(columns[q]);
        for (auto e = a.entries.lower_bound({column, 0}); e != a.entries.end() && e->first.column == column; ++e) {
            if (!rows) {
                result.entries[{q, e->first.row}] = e->second;
            }
            const auto [from, to] = newRows.equal_range(e->first.row);
            for (auto found = from; found != to; ++found) {
                result.entries[{q, found->second}] = e->second;
            }
        }
    }
    result.nzmax = result.nnz();
    if (rows && !usesRowMap(a, result.m)) {
        result.nzmax = searchCapacity(a, *rows, columns);
    }
    return result;
}

/// The elements at these linear positions, laid out by columns in an m-by-n result.
Model gather(const Model& a, const Positions& positions, std::uint64_t m, std::uint64_t n)
{
    Model result = emptyLike(a, m, n);
    for (std::size_t t = 0; t < positions.size(); ++t) {
        if (const auto found = a.entries.find(a.place(positions[t])); found != a.entries.end()) {
            result.entries[result.place(t)] = found->second;
        }
    }
    result.nzmax = result.nnz();
    return result;
}

struct Shape
{
    std::uint64_t m;
    std::uint64_t n;
};

/// Shape of A(K) for k selected elements.
Shape linearShape(const Model& a, const Subscript& s, std::uint64_t k)
{
    const bool range = s.form == Form::Range;
    Shape shape = range ? Shape{1, k} : Shape{s.m, s.n};
    bool vector = shape.m == 1 || shape.n == 1;
    if (s.isLogical()) {
        const bool none = s.m == 0 && s.n == 0;
        const bool falseScalar = s.m == 1 && s.n == 1 && k == 0;
        vector = !none; // a mask lists its elements in a vector
        shape = none || falseScalar ? Shape{0, 0} : (s.m == 1 ? Shape{1, k} : Shape{k, 1});
    }
    if (vector && a.m == 1 && a.n != 1) {
        return {1, k};
    }
    if (vector && a.n == 1 && a.m != 1) {
        return {k, 1};
    }
    return shape;
}

} // namespace

Model refAll(const Model& a)
{
    if (!isCountable(a.m, a.n)) {
        throw Failure(kTooLargeError);
    }
    Model result = reshaped(a, static_cast<unsigned>(a.numel()), 1);
    result.nzmax = a.nnz();
    return result;
}

Model refLinear(const Model& a, const Subscript& k)
{
    if (k.form == Form::Colon) {
        return refAll(a);
    }
    const bool countable = isCountable(a.m, a.n);
    const bool exactLimit = countable || k.form == Form::SparseMask;
    const Positions positions =
        convert(k, exactLimit ? a.numel() : kxGetMaxNumberOfElements(), Purpose::Reference, !countable);
    const auto [m, n] = linearShape(a, k, positions.size());
    Model result = gather(a, positions, m, n);
    if (!countable && k.form == Form::SparseMask && !isCountable(k.m, k.n) && !positions.empty()) {
        result.nzmax = std::min(static_cast<unsigned>(positions.size()), a.nnz());
    }
    return withoutImagZeros(result);
}

Model refColumns(const Model& a, const Subscript& j)
{
    if (j.form == Form::Colon) {
        return withoutImagZeros(a);
    }
    return withoutImagZeros(select(a, std::nullopt, convert(j, a.n, Purpose::Reference)));
}

Model refRows(const Model& a, const Subscript& i)
{
    return refGeneral(a, i, Subscript::colon());
}

Model refGeneral(const Model& a, const Subscript& i, const Subscript& j)
{
    if (i.form == Form::Colon) {
        return refColumns(a, j);
    }
    const Positions rows = convert(i, a.m, Purpose::Reference);
    return withoutImagZeros(select(a, rows, convert(j, a.n, Purpose::Reference)));
}

Model refByLists(const Model& a, const Subscript& rows, const Subscript& columns)
{
    const auto positions = [](const Subscript& list, unsigned extent) {
        if (list.form == Form::Colon) {
            return convert(list, extent, Purpose::Reference);
        }
        Positions all;
        for (const double value : list.values) {
            if (value > extent) { // nothing else bounds it
                throw Failure(kOutOfRangeError);
            }
            all.push_back(static_cast<std::uint64_t>(value) - 1);
        }
        return all;
    };
    const bool allRows = rows.form == Form::Colon;
    const bool allColumns = columns.form == Form::Colon;
    const Positions r = allRows ? Positions{} : positions(rows, a.m);
    const Positions c = allRows && allColumns ? Positions{} : positions(columns, a.n);
    return select(a, allRows ? std::nullopt : std::optional(r), c);
}

Model refByRanges(const Model& a, const Subscript& rows, const Subscript& columns)
{
    try {
        const Positions r = convert(rows, a.m, Purpose::Reference);
        return select(a, r, convert(columns, a.n, Purpose::Reference));
    } catch (const Failure& failure) {
        if (failure.status == spOK) {
            throw;
        }
        throw Failure(failure.status == spIndexOutOfRange ? kOutOfRangeError : kNotPositiveIntegerError);
    }
}

} // namespace zqsp::test
