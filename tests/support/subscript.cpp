#include "support/subscript.hpp"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace zqsp::test {

Subscript Subscript::list(std::vector<double> values)
{
    const auto n = static_cast<unsigned>(values.size());
    return {.n = n, .values = std::move(values)};
}

Subscript Subscript::sparseList(std::vector<double> values)
{
    const auto n = static_cast<unsigned>(values.size());
    return {.form = Form::SparseNumeric, .n = n, .values = std::move(values)};
}

Subscript Subscript::mask(std::vector<double> zerosAndOnes)
{
    const auto n = static_cast<unsigned>(zerosAndOnes.size());
    return {.form = Form::Mask, .classId = kxLOGICAL_CLASS, .n = n, .values = std::move(zerosAndOnes)};
}

Subscript Subscript::sparseMask(unsigned m, unsigned n, std::vector<Place> stored)
{
    std::sort(stored.begin(), stored.end());
    return {.form = Form::SparseMask, .classId = kxLOGICAL_CLASS, .m = m, .n = n, .stored = std::move(stored)};
}

Subscript Subscript::range(double start, double step, double stop)
{
    return {.form = Form::Range, .start = start, .step = step, .stop = stop};
}

Subscript Subscript::colon()
{
    return {.form = Form::Colon};
}

Subscript Subscript::ofModel(const Model& model)
{
    Subscript s = sparseMask(model.m, model.n, {});
    const bool mask = model.storage.classId == kxLOGICAL_CLASS;
    if (!mask) {
        s.form = Form::SparseNumeric;
        s.classId = model.storage.classId;
        s.complex = model.storage.complex;
        s.values.resize(model.numel());
    }
    for (const auto& [place, value] : model.entries) {
        if (mask || value.real() == 0) {
            s.stored.push_back(place);
        } else {
            s.values[model.linear(place)] = value.real();
        }
    }
    return s;
}

Subscript Subscript::shaped(unsigned rows, unsigned columns) const
{
    Subscript s = *this;
    s.m = rows;
    s.n = columns;
    return s;
}

Subscript Subscript::as(kxClassID id) const
{
    Subscript s = *this;
    s.classId = id;
    for (double& value : s.values) {
        value = convertElement(value, id);
    }
    return s;
}

void Subscript::store(std::uint64_t position)
{
    const Place place{static_cast<unsigned>(position / m), static_cast<unsigned>(position % m)};
    const auto at = std::lower_bound(stored.begin(), stored.end(), place);
    if (at == stored.end() || *at != place) {
        stored.insert(at, place);
    }
    n = std::max(n, place.column + 1);
}

std::size_t Subscript::storedCount() const
{
    const auto zeros = std::count(values.begin(), values.end(), 0.0);
    return values.size() - static_cast<std::size_t>(zeros) + stored.size();
}

std::uint64_t Subscript::numel() const
{
    if (form != Form::Range) {
        return std::uint64_t{m} * n;
    }
    const double steps = std::floor((stop - start) / step);
    return step == 0 || steps < 0 ? 0 : static_cast<std::uint64_t>(steps) + 1;
}

Array toArray(const Subscript& s)
{
    if (s.form == Form::Colon) {
        return Array(kxCreateColon());
    }
    if (s.form == Form::Range) {
        return Array(kxCreateColonObject(s.start, s.step, s.stop));
    }
    Model model = Model::empty({s.classId, s.complex}, s.m, s.n);
    model.sparse = s.form == Form::SparseNumeric || s.form == Form::SparseMask;
    for (const Place place : s.stored) {
        model.entries[place] = s.form == Form::SparseNumeric || s.storesFalse ? 0 : 1;
    }
    for (std::size_t i = 0; i < s.values.size(); ++i) {
        if (s.values[i] != 0) {
            model.entries[model.place(i)] = s.values[i];
        }
    }
    return toArray(model.fit());
}

Positions maskPositions(const Subscript& mask)
{
    Positions positions;
    for (std::size_t i = 0; i < mask.values.size(); ++i) {
        if (mask.values[i] != 0) {
            positions.push_back(i);
        }
    }
    for (const Place place : mask.stored) {
        positions.push_back(std::uint64_t{place.column} * mask.m + place.row);
    }
    return positions;
}

std::vector<double> rangeValues(const Subscript& range)
{
    std::vector<double> values(range.numel());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = range.start + range.step * static_cast<double>(i);
    }
    return values;
}

std::ostream& operator<<(std::ostream& out, const Subscript& s)
{
    if (s.form == Form::Colon) {
        return out << ":";
    }
    if (s.form == Form::Range) {
        return out << s.start << ':' << s.step << ':' << s.stop;
    }
    const bool sparse = s.form == Form::SparseMask || s.form == Form::SparseNumeric;
    out << (sparse ? "sparse " : "") << nameOf({s.classId, s.complex}) << ' ' << s.m << 'x' << s.n
        << (s.storesFalse ? " storing false" : "") << " [";
    for (const double value : s.values) {
        out << ' ' << value;
    }
    for (const Place place : s.stored) {
        out << " (" << place.row << ',' << place.column << ')';
    }
    return out << " ]";
}

} // namespace zqsp::test
