#include "support/model_operations.hpp"

#include <algorithm>
#include <optional>

namespace zqsp::test {

namespace {

/// Ascending, each once.
Positions deletedPositions(const Subscript& s, std::uint64_t extent)
{
    Positions positions = convert(s, extent, Purpose::Deletion);
    std::ranges::sort(positions);
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

/// Where a kept position lies once the deleted ones are gone; nothing for one of these.
std::optional<std::uint64_t> kept(const Positions& deleted, std::uint64_t position)
{
    const auto next = std::ranges::lower_bound(deleted, position);
    const bool isDeleted = next != deleted.end() && *next == position;
    return isDeleted ? std::nullopt : std::optional(position - static_cast<std::uint64_t>(next - deleted.begin()));
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
    const Positions deleted = deletedPositions(s, columns ? a.n : a.m);
    if (deleted.empty()) {
        return a;
    }
    Model result = emptied(a);
    (columns ? result.n : result.m) -= static_cast<unsigned>(deleted.size());
    for (const auto& [place, value] : a.entries) {
        Place moved = place;
        unsigned& line = columns ? moved.column : moved.row;
        if (const auto stays = kept(deleted, line)) {
            line = static_cast<unsigned>(*stays);
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
    const Positions deleted = deletedPositions(k, std::min<std::uint64_t>(a.numel(), kxGetMaxNumberOfElements()));
    if (a.isEmpty() || deleted.empty()) {
        return a;
    }
    const bool column = a.n == 1 && a.m != 1;
    const auto left = static_cast<unsigned>(a.numel() - deleted.size());
    Model result = emptied(a);
    result.m = column ? left : 1;
    result.n = column ? 1 : left;
    for (const auto& [place, value] : a.entries) {
        if (const auto stays = kept(deleted, a.linear(place))) {
            result.entries[result.place(*stays)] = value;
        }
    }
    return result;
}

} // namespace zqsp::test
