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

Model withoutAnything(const Model& a, unsigned m, unsigned n)
{
    Model result = Model::empty({a.storage.classId, false}, m, n);
    result.nzmax = 1;
    return result;
}

} // namespace

Model deleteColumns(const Model& a, const Subscript& j)
{
    if (j.form == Form::Colon) {
        return withoutAnything(a, a.m, 0);
    }
    const PositionSet deleted = deletedPositions(j, a.n);
    Model result = a;
    result.n = a.n - static_cast<unsigned>(deleted.size());
    result.entries.clear();
    for (const auto& [place, value] : a.entries) {
        if (!deleted.contains(place.column)) {
            result.entries[{static_cast<unsigned>(shifted(deleted, place.column)), place.row}] = value;
        }
    }
    return result;
}

Model deleteRows(const Model& a, const Subscript& i)
{
    if (i.form == Form::Colon) {
        return withoutAnything(a, 0, a.n);
    }
    const PositionSet deleted = deletedPositions(i, a.m);
    Model result = a;
    result.m = a.m - static_cast<unsigned>(deleted.size());
    result.entries.clear();
    for (const auto& [place, value] : a.entries) {
        if (!deleted.contains(place.row)) {
            result.entries[{place.column, static_cast<unsigned>(shifted(deleted, place.row))}] = value;
        }
    }
    return result;
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
    Model result = a;
    result.m = column ? kept : 1;
    result.n = column ? 1 : kept;
    result.entries.clear();
    for (const auto& [place, value] : a.entries) {
        if (!deleted.contains(a.linear(place))) {
            result.entries[result.place(shifted(deleted, a.linear(place)))] = value;
        }
    }
    return result;
}

} // namespace zqsp::test
