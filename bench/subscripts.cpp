#include "subscripts.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <numeric>
#include <stdexcept>

namespace zqsp::bench {

namespace {

using Form = Subscript::Form;
using List = std::vector<unsigned>;

List run(unsigned first, unsigned count)
{
    List values(count);
    std::iota(values.begin(), values.end(), first);
    return values;
}

List sorted(List values)
{
    std::sort(values.begin(), values.end());
    return values;
}

List reversed(List values)
{
    std::reverse(values.begin(), values.end());
    return values;
}

/// `count` distinct values of an extent, in random order.
List sample(unsigned extent, std::size_t count)
{
    Random random(11);
    List values;
    if (count > extent / 4) {
        values = run(0, extent);
        random.shuffle(values);
        values.resize(std::min<std::size_t>(count, extent));
        return values;
    }
    while (values.size() < count) {
        while (values.size() < count) {
            values.push_back(random.below(extent));
        }
        values = sorted(std::move(values));
        values.erase(std::unique(values.begin(), values.end()), values.end());
    }
    random.shuffle(values);
    return values;
}

List drawn(unsigned extent, std::size_t count)
{
    Random random(12);
    List values(count);
    std::generate(values.begin(), values.end(), [&] { return random.below(extent); });
    return values;
}

List strided(unsigned extent, unsigned stride)
{
    List values;
    for (unsigned i = 0; i < extent; i += stride) {
        values.push_back(i);
    }
    return values;
}

/// Each value with the given chance, in runs of about `length`.
List chosen(unsigned extent, double chance, double length = 1)
{
    Random random(13);
    List values;
    bool isIn = false;
    for (unsigned i = 0; i < extent; ++i) {
        if (length == 1) {
            isIn = random.fraction() < chance;
        } else if (random.fraction() < 1 / length) {
            isIn = random.fraction() < chance;
        }
        if (isIn) {
            values.push_back(i);
        }
    }
    return values;
}

/// Linear positions of the entries within reach.
List storedPositions(const Matrix& A, unsigned reach)
{
    List values;
    for (unsigned j = 0; j < A.n && std::uint64_t{j} * A.m < reach; ++j) {
        for (unsigned e = A.jc[j]; e < A.jc[j + 1]; ++e) {
            const std::uint64_t position = std::uint64_t{j} * A.m + A.ir[e];
            if (position < reach) {
                values.push_back(static_cast<unsigned>(position));
            }
        }
    }
    return values;
}

List sampleStored(const Matrix& A, unsigned reach, unsigned count)
{
    const List stored = storedPositions(A, reach);
    List values = sample(static_cast<unsigned>(stored.size()), std::min<std::size_t>(count, stored.size()));
    for (unsigned& value : values) {
        value = stored[value];
    }
    return values;
}

List sampleNew(const Matrix& A, unsigned reach, unsigned count)
{
    const List stored = storedPositions(A, reach);
    List values = sample(reach, count + stored.size());
    std::erase_if(values, [&](unsigned v) { return std::binary_search(stored.begin(), stored.end(), v); });
    values.resize(std::min<std::size_t>(count, values.size()));
    return values;
}

unsigned scaled(double count, double factor)
{
    return std::max(1U, static_cast<unsigned>(std::lround(count * factor)));
}

using DimensionMaker = std::function<List(unsigned extent, double factor)>;

struct DimensionEntry
{
    Form form;
    DimensionMaker make;
};

const std::map<std::string, DimensionEntry>& dimensionTable()
{
    static const std::map<std::string, DimensionEntry> table = {
        {"all", {Form::colon, [](unsigned n, double) { return run(0, n); }}},
        {"half-run", {Form::range, [](unsigned n, double) { return run(n / 4, n / 2); }}},
        {"half-run-list", {Form::list, [](unsigned n, double) { return run(n / 4, n / 2); }}},
        {"half-random", {Form::list, [](unsigned n, double) { return sample(n, n / 2); }}},
        {"half-sorted", {Form::list, [](unsigned n, double) { return sorted(sample(n, n / 2)); }}},
        {"half-mask", {Form::mask, [](unsigned n, double) { return sorted(sample(n, n / 2)); }}},
        {"permutation", {Form::list, [](unsigned n, double) { return sample(n, n); }}},
        {"descending", {Form::list, [](unsigned n, double) { return reversed(run(0, n)); }}},
        {"descending-half", {Form::list, [](unsigned n, double) { return reversed(sorted(sample(n, n / 2))); }}},
        {"repeated", {Form::list, [](unsigned n, double) { return drawn(n, n / 2); }}},
        {"repeated-sorted", {Form::list, [](unsigned n, double) { return sorted(drawn(n, n / 2)); }}},
        {"strided", {Form::range, [](unsigned n, double) { return strided(n, 3); }}},
        {"none", {Form::list, [](unsigned, double) { return List(); }}},
        {"three", {Form::list, [](unsigned n, double) { return sorted(sample(n, 3)); }}},
        {"ten", {Form::list, [](unsigned n, double f) { return sorted(sample(n, scaled(10, f))); }}},
        {"hundred", {Form::list, [](unsigned n, double f) { return sorted(sample(n, scaled(100, f))); }}},
        {"thousand", {Form::list, [](unsigned n, double) { return drawn(n, 1000); }}},
        {"drawn", {Form::list, [](unsigned n, double f) { return drawn(n, scaled(1e5, f)); }}},
        {"one", {Form::list, [](unsigned n, double) { return List{n / 3}; }}},
        {"tenth", {Form::list, [](unsigned n, double) { return sorted(sample(n, n / 10)); }}},
        {"tenth-random", {Form::list, [](unsigned n, double) { return sample(n, n / 10); }}},
        {"mask5", {Form::mask, [](unsigned n, double) { return chosen(n, 0.05); }}},
        {"mask0.01", {Form::mask, [](unsigned n, double) { return chosen(n, 0.0001); }}},
        {"mask-runs", {Form::mask, [](unsigned n, double) { return chosen(n, 0.5, 100); }}},
        {"sparse-mask5", {Form::sparseMask, [](unsigned n, double) { return chosen(n, 0.05); }}}};
    return table;
}

} // namespace

double Subscript::bytes() const
{
    switch (form) {
    case Form::list:
        return 8.0 * static_cast<double>(values.size());
    case Form::mask:
        return extent;
    case Form::sparseMask:
        return 4.0 * static_cast<double>(values.size());
    case Form::colon:
    case Form::range:
        break;
    }
    return 24;
}

bool Subscript::isRun() const
{
    return isAscending() && (values.empty() || values.back() - values.front() + 1 == values.size());
}

bool Subscript::isAscending() const
{
    return std::adjacent_find(values.begin(), values.end(), std::greater_equal<>()) == values.end();
}

Subscript dimensionSubscript(const std::string& name, unsigned extent, double factor)
{
    const auto at = dimensionTable().find(name);
    if (at == dimensionTable().end()) {
        throw std::invalid_argument("no subscript " + name);
    }
    return {at->second.form, extent, at->second.make(extent, factor), name == "permutation"};
}

Subscript linearSubscript(const std::string& name, const Matrix& A, double factor)
{
    const auto reach = static_cast<unsigned>(std::min<std::uint64_t>(A.cells(), 0x7FFFFFFF));
    const auto count = [factor](double nominal) { return scaled(nominal, factor); };
    const std::map<std::string, std::function<List()>> table = {
        {"million", [&] { return sorted(sample(reach, count(1e6))); }},
        {"million-random", [&] { return sample(reach, count(1e6)); }},
        {"million-descending", [&] { return reversed(sorted(sample(reach, count(1e6)))); }},
        {"million-repeated", [&] { return drawn(count(1e5), count(1e6)); }},
        {"stored", [&] { return sampleStored(A, reach, count(1e5)); }},
        {"stored-sorted", [&] { return sorted(sampleStored(A, reach, count(1e5))); }},
        {"stored-thousand",
         [&] {
             const List stored = sampleStored(A, reach, 1000);
             List values = drawn(static_cast<unsigned>(stored.size()), 1000);
             std::ranges::transform(values, values.begin(), [&](unsigned place) { return stored[place]; });
             return values;
         }},
        {"new3", [&] { return sampleNew(A, reach, count(1e3)); }},
        {"new4", [&] { return sampleNew(A, reach, count(1e4)); }},
        {"new5", [&] { return sampleNew(A, reach, count(1e5)); }},
        {"new5-sorted", [&] { return sorted(sampleNew(A, reach, count(1e5))); }}};
    const auto at = table.find(name);
    if (at == table.end()) {
        return dimensionSubscript(name, reach, factor);
    }
    return {Form::list, reach, at->second(), false};
}

} // namespace zqsp::bench
