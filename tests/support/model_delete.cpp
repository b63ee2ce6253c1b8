#include "support/model_operations.hpp"

#include <algorithm>
#include <set>

namespace zqsp::test {

namespace {

using PositionSet = std::set<std::uint64_t>;

PositionSet deletedPositions(const Subscript& s, std::uint64_t extent)
{
    const Positions positions = convert(s, extent, Purpose::Deletion);
    return {positions.begin(), positions.end()};
}

/// Where a kept position lies once the deleted ones are gone.
std::uint64_t shifted(const PositionSet& deleted, std::uint64_t position)
{
    return position - static_cast<std::uint64_t>(std::distance(deleted.begin(), deleted.lower_bound(position)));
}

/// What a deletion makes of A, to be filled: a full array becomes sparse.
Model emptied(const Model& a)
{
    Model result = a;
    result.entries.clear();
    result.sparse = true;
    result.nzmax = a.sparse ? a.nzmax : Model::kAnyCapacity;
    return result;
}

Model withoutAnything(const Model& a, unsigned m, unsigned n)
{
    Model result = Model::empty({a.storage.classId, false}, m, n);
    result.nzmax = 1;
    return result;
}

/// The columns, or the rows, that S names.
Model deleteLines(const Model& a, const Subscript& s, bool columns)
{
    if (s.form == Form::Colon) {
        return columns ? withoutAnything(a, a.m, 0) : withoutAnything(a, 0, a.n);
    }
    const PositionSet deleted = deletedPositions(s, columns ? a.n : a.m);
    if (deleted.empty()) {
        return a;
    }
    Model result = emptied(a);
    (columns ? result.n : result.m) -= static_cast<unsigned>(deleted.size());
    for (const auto& [place, value] : a.entries) {
        Place moved = place;
        unsigned& line = columns ? moved.column : moved.row;
        if (!deleted.contains(line)) {
            line = static_cast<unsigned>(shifted(deleted, line));
            result.entries[moved] = value;
        }
    }
    return result;
}

} // namespace

Model deleteColumns(const Model& a, const Subscript& j)
{
    return deleteLines(a, j, true);
}

Model deleteRows(const Model& a, const Subscript& i)
{
    return deleteLines(a, i, false);
}

Model deleteElements(const Model& a, const Subscript& k)
{
    if (k.form == Form::Colon) {
        Model result = withoutAnything(a, 0, 0);
        result.sparse = a.sparse;
        result.nzmax = Model::kAnyCapacity;
        return result;
    }
    if (k.numel() == 0) {
        return a;
    }
    constexpr std::uint64_t kByteLimit = 0xFFFFFFFFU;
    const bool fits = isCountable(a.m, a.n) && a.numel() * elementSizeOf(a.storage.classId) <= kByteLimit;
    if (a.n != 1 && !fits) {
        throw Failure(spCannotResizeToRowVector);
    }
    const PositionSet deleted = deletedPositions(k, std::min<std::uint64_t>(a.numel(), kxGetMaxNumberOfElements()));
    if (a.isEmpty() || deleted.empty()) {
        return a;
    }
    const bool column = a.n == 1 && a.m != 1;
    const auto kept = static_cast<unsigned>(a.numel() - deleted.size());
    Model result = emptied(a);
    result.m = column ? kept : 1;
    result.n = column ? 1 : kept;
    for (const auto& [place, value] : a.entries) {
        if (!deleted.contains(a.linear(place))) {
            result.entries[result.place(shifted(deleted, a.linear(place)))] = value;
        }
    }
    return result;
}

} // namespace zqsp::test
