#include "support/draw.hpp"
#include "support/generators.hpp"

#include <algorithm>
#include <cmath>
#include <set>

namespace zqsp::test {

namespace {

/// Past what a subscript may name.
std::uint64_t reachOf(const Wanted& wanted)
{
    const std::uint64_t max = kxGetMaxNumberOfElements();
    return std::min(wanted.extent + wanted.growth, max);
}

/// What positionOf() gives of the stored places, each once, as far as it can be named.
template <typename PositionOf>
std::vector<unsigned> ascending(const Model& a, PositionOf positionOf)
{
    std::set<unsigned> positions;
    for (const auto& [place, value] : a.entries) {
        if (const std::uint64_t position = positionOf(place); position < kxGetMaxNumberOfElements()) {
            positions.insert(static_cast<unsigned>(position));
        }
    }
    return {positions.begin(), positions.end()};
}

/// 0-based positions in any order, with repeats; empty where there are none to name.
std::vector<unsigned> drawPositions(const Wanted& wanted)
{
    std::vector<unsigned> positions;
    const auto reach = static_cast<unsigned>(reachOf(wanted));
    if (reach == 0) {
        return positions;
    }
    for (unsigned count = draw(wanted.most + 1); count > 0; --count) {
        const bool aim = !wanted.likely.empty() && drawOneIn(2);
        positions.push_back(aim ? drawFrom(wanted.likely) : draw(reach));
    }
    switch (draw(4)) {
    case 1:
        std::sort(positions.begin(), positions.end());
        break;
    case 2:
        std::sort(positions.rbegin(), positions.rend());
        break;
    case 3: { // distinct, in any order
        std::set<unsigned> seen;
        std::erase_if(positions, [&](unsigned p) { return !seen.insert(p).second; });
        break;
    }
    default:
        break;
    }
    return positions;
}

/// A shape for `count` elements: a row, a column, or a matrix where the number allows.
std::pair<unsigned, unsigned> drawShape(unsigned count)
{
    switch (draw(3)) {
    case 0:
        return {1, count};
    case 1:
        return {count, 1};
    default:
        return count % 2 == 0 ? std::pair{2U, count / 2} : std::pair{1U, count};
    }
}

kxClassID drawNumericClass(double highest)
{
    std::vector<kxClassID> able;
    for (const kxClassID id : {kxDOUBLE_CLASS, kxINT32_CLASS, kxUINT8_CLASS, kxINT8_CLASS, kxCHAR_CLASS, kxSINGLE_CLASS,
                               kxINT16_CLASS, kxUINT16_CLASS, kxUINT32_CLASS, kxINT64_CLASS, kxUINT64_CLASS}) {
        if (convertElement(highest, id) == highest) {
            able.push_back(id);
        }
    }
    return drawFrom(able);
}

Subscript drawNumeric(const Wanted& wanted, Form form)
{
    std::vector<double> values;
    double highest = 1;
    for (const unsigned position : drawPositions(wanted)) {
        values.push_back(position + 1.0);
        highest = std::max(highest, values.back());
    }
    const auto [m, n] = drawShape(static_cast<unsigned>(values.size()));
    Subscript s = Subscript::list(std::move(values)).shaped(m, n).as(drawNumericClass(highest));
    s.form = form;
    return s;
}

Subscript drawMask(const Wanted& wanted)
{
    constexpr unsigned kLongest = 5000; // a mask over more is cut short
    std::vector<double> values(drawOneIn(3) ? 0 : std::min<std::uint64_t>(wanted.extent, kLongest));
    for (const unsigned p : drawPositions(wanted)) {
        if (p < kLongest) {
            values.resize(std::max<std::size_t>(values.size(), p + 1));
            values[p] = 1;
        }
    }
    if (drawOneIn(4)) {
        values.resize(values.size() + draw(4));
    }
    const auto [m, n] = drawShape(static_cast<unsigned>(values.size()));
    return Subscript::mask(std::move(values)).shaped(m, n);
}

Subscript drawSparseMask(const Wanted& wanted)
{
    const auto reach = std::max(static_cast<unsigned>(reachOf(wanted)), 1U);
    // Any number of rows will do: the positions are those of the columns laid end to end.
    const bool isLong = reach > 5000;
    const unsigned m = drawFrom<unsigned>({reach, isLong ? reach / 7 + 1 : 1, isLong ? reach / 3 + 1 : 1 + draw(9)});
    Subscript s = Subscript::sparseMask(m, 0, {});
    for (const unsigned p : drawPositions(wanted)) {
        s.store(p);
    }
    s.n += draw(3);
    s.storesFalse = drawOneIn(6);
    return s;
}

Subscript drawRange(const Wanted& wanted)
{
    const auto reach = static_cast<unsigned>(reachOf(wanted));
    if (reach == 0 || drawOneIn(10)) {
        return Subscript::range(3, 1, 1);
    }
    const unsigned step = 1 + draw(3);
    const unsigned count = 1 + draw(std::min((reach - 1) / step + 1, wanted.most));
    const unsigned low = draw(reach - (count - 1) * step);
    const double first = low + 1.0;
    const double last = first + (count - 1.0) * step;
    const bool fractionalEnd = drawOneIn(6); // the values come as a list then
    if (drawOneIn(3)) {
        return Subscript::range(last, -static_cast<double>(step), first - (fractionalEnd ? 0.5 : 0));
    }
    const double overshoot = fractionalEnd ? 0.5 : draw(step);
    return Subscript::range(first, step, std::min(last + overshoot, reach + 0.5));
}

Subscript drawEmpty()
{
    const auto [m, n] = drawFrom<std::pair<unsigned, unsigned>>({{0, 0}, {1, 0}, {0, 1}, {0, 3}, {3, 0}});
    return drawFrom<Subscript>(
               {Subscript::list({}), Subscript::mask({}), Subscript::sparseMask(0, 0, {}), Subscript::sparseList({})})
        .shaped(m, n);
}

/// Values that spoil a numeric subscript. For an assignment none may be a good index, however large.
double drawBadValue(const Wanted& wanted)
{
    const auto extent = static_cast<double>(wanted.extent);
    std::vector<double> bad = {0, -3, 0.5, 1.5, kNaN, kInf, -kInf, 1e300, 3e9};
    if (wanted.purpose != Purpose::Assignment) {
        bad.insert(bad.end(), {extent + 1, extent + 0.5, extent + 1.5, 2147483647, 2147483648, 4294967297});
    }
    return drawFrom(bad);
}

void spoilNumeric(Subscript& s, const Wanted& wanted)
{
    if (s.form == Form::SparseNumeric && drawOneIn(2)) {
        s.values.push_back(0);
    } else if (drawOneIn(8) && isNumeric(s.classId)) {
        s.complex = true;
    } else {
        const double bad = drawBadValue(wanted);
        const bool kept = wanted.purpose != Purpose::Assignment || convertElement(bad, s.classId) == bad || bad <= 0;
        s.values.insert(s.values.begin() + draw(static_cast<unsigned>(s.values.size()) + 1),
                        kept ? convertElement(bad, s.classId) : 0);
    }
    s = s.shaped(1, static_cast<unsigned>(s.values.size()));
    if (s.form == Form::SparseNumeric && s.n > 0 && s.values.back() == 0 && drawOneIn(2)) {
        s.store(s.n - 1U);
    }
}

void spoil(Subscript& s, const Wanted& wanted)
{
    const bool mayGrow = wanted.purpose == Purpose::Assignment;
    switch (s.form) {
    case Form::Numeric:
    case Form::SparseNumeric:
        return spoilNumeric(s, wanted);
    case Form::Mask:
        if (!mayGrow && wanted.extent < 5000) {
            s.values.resize(wanted.extent + draw(3));
            s.values.push_back(1);
            s = s.shaped(static_cast<unsigned>(s.values.size()), 1);
        }
        return;
    case Form::SparseMask:
        if (!mayGrow && s.m > 0) {
            s.store(wanted.extent + std::uint64_t{draw(2)} * s.m);
        }
        return;
    case Form::Range: {
        const double past = mayGrow ? 1.5 : static_cast<double>(wanted.extent) + 1;
        s = drawFrom<Subscript>({Subscript::range(0, 1, 2), Subscript::range(2, -1, -1), Subscript::range(1, 0.5, 3),
                                 Subscript::range(past, 1, past + 1),
                                 Subscript::range(past, -1, std::max(past - 9, 1.0)), Subscript::range(1, 0, 3),
                                 Subscript::range(1.5, 1, 3)});
        return;
    }
    case Form::Colon:
        return;
    }
}

Subscript drawForm(const Wanted& wanted, Form form)
{
    switch (form) {
    case Form::Numeric:
    case Form::SparseNumeric:
        return drawNumeric(wanted, form);
    case Form::Mask:
        return drawMask(wanted);
    case Form::SparseMask:
        return drawSparseMask(wanted);
    case Form::Range:
        return drawRange(wanted);
    case Form::Colon:
        break;
    }
    return Subscript::colon();
}

} // namespace

Wanted wantedRows(const Model& a, Purpose purpose)
{
    return {.extent = a.m, .purpose = purpose, .likely = ascending(a, [](Place place) { return place.row; })};
}

Wanted wantedColumns(const Model& a, Purpose purpose)
{
    return {.extent = a.n, .purpose = purpose, .likely = ascending(a, [](Place place) { return place.column; })};
}

Wanted wantedElements(const Model& a, Purpose purpose)
{
    const auto position = [&a](Place place) { return a.linear(place); };
    return {.extent = a.numel(), .purpose = purpose, .likely = ascending(a, position)};
}

Subscript drawSubscript(const Wanted& wanted, Form form)
{
    Subscript s = drawForm(wanted, form);
    if (wanted.mayFail && drawOneIn(8)) {
        spoil(s, wanted);
    }
    return s;
}

Subscript drawSubscript(const Wanted& wanted)
{
    const Form form = kEveryForm[draw(std::size(kEveryForm))];
    return drawOneIn(20) ? drawEmpty() : drawSubscript(wanted, form);
}

Subscript drawBareList(const Wanted& wanted)
{
    Subscript s = drawSubscript(wanted, Form::Numeric);
    std::erase_if(s.values, [](double v) { return !(v >= 1 && v <= 0xFFFFFFFF && v == std::trunc(v)); });
    s.complex = false;
    return s.as(kxDOUBLE_CLASS).shaped(1, static_cast<unsigned>(s.values.size()));
}

} // namespace zqsp::test
