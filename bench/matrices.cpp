#include "matrices.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace zqsp::bench {

namespace {

constexpr std::uint64_t key(unsigned column, unsigned row)
{
    return std::uint64_t{column} << 32 | row;
}

/// From cells in any order, repeats allowed.
Matrix fromKeys(unsigned m, unsigned n, std::vector<std::uint64_t> keys)
{
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    Matrix matrix{m, n, std::vector<unsigned>(n + 1U), {}, {}, {}};
    matrix.ir.reserve(keys.size());
    for (const std::uint64_t cell : keys) {
        ++matrix.jc[(cell >> 32) + 1];
        matrix.ir.push_back(static_cast<unsigned>(cell));
    }
    for (unsigned j = 0; j < n; ++j) {
        matrix.jc[j + 1] += matrix.jc[j];
    }
    setValues(matrix, Values::real);
    return matrix;
}

/// Five-point Laplacian of a side-by-side grid.
Matrix gridMatrix(unsigned side)
{
    std::vector<std::uint64_t> keys;
    for (unsigned x = 0; x < side; ++x) {
        for (unsigned y = 0; y < side; ++y) {
            const unsigned at = x * side + y;
            keys.push_back(key(at, at));
            if (x + 1 < side) {
                keys.insert(keys.end(), {key(at, at + side), key(at + side, at)});
            }
            if (y + 1 < side) {
                keys.insert(keys.end(), {key(at, at + 1), key(at + 1, at)});
            }
        }
    }
    return fromKeys(side * side, side * side, std::move(keys));
}

/// A skewed graph: each edge descends `bits` times into a quadrant, with chances 0.57, 0.19, 0.19 and 0.05.
Matrix powerlawMatrix(unsigned bits, unsigned edges)
{
    Random random(3);
    std::vector<std::uint64_t> keys(edges);
    for (std::uint64_t& cell : keys) {
        unsigned row = 0;
        unsigned column = 0;
        for (unsigned b = 0; b < bits; ++b) {
            const double chance = random.fraction();
            row = row * 2 + (chance >= 0.76 ? 1 : 0);
            column = column * 2 + ((chance >= 0.57 && chance < 0.76) || chance >= 0.95 ? 1 : 0);
        }
        cell = key(column, row);
    }
    return fromKeys(1U << bits, 1U << bits, std::move(keys));
}

/// One dense column in the middle; of the others one in ten holds an entry.
Matrix skewMatrix(unsigned m, unsigned n)
{
    Random random(4);
    std::vector<std::uint64_t> keys;
    for (unsigned i = 0; i < m; ++i) {
        keys.push_back(key(n / 2, i));
    }
    for (unsigned e = 0; e < n / 10; ++e) {
        keys.push_back(key(random.below(n), random.below(m)));
    }
    return fromKeys(m, n, std::move(keys));
}

Matrix makeWorkload(const std::string& name)
{
    if (name == "uniform") {
        return uniformMatrix(100000, 100000, 10);
    }
    if (name == "grid") {
        return gridMatrix(1000);
    }
    if (name == "tall") {
        return uniformMatrix(1000000, 1000, 1000);
    }
    if (name == "powerlaw") {
        return powerlawMatrix(17, 1150000);
    }
    if (name == "skew") {
        return skewMatrix(1000000, 100000);
    }
    if (name == "cells") {
        return uniformMatrix(10000, 1000, 100);
    }
    if (name == "small10") {
        return uniformMatrix(10, 10, 3);
    }
    if (name == "small100") {
        return uniformMatrix(100, 100, 10);
    }
    const auto size = static_cast<unsigned>(subscriptFactor(name) * 100000);
    if (size != 100000) {
        return uniformMatrix(size, size, 10);
    }
    throw std::invalid_argument("no workload " + name);
}

} // namespace

Matrix uniformMatrix(unsigned m, unsigned n, unsigned perColumn)
{
    Random random(1);
    std::vector<std::uint64_t> keys;
    std::vector<unsigned> rows;
    for (unsigned j = 0; j < n; ++j) {
        rows.clear();
        while (rows.size() < perColumn) {
            while (rows.size() < perColumn) {
                rows.push_back(random.below(m));
            }
            std::sort(rows.begin(), rows.end());
            rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
        }
        for (const unsigned i : rows) {
            keys.push_back(key(j, i));
        }
    }
    return fromKeys(m, n, std::move(keys));
}

Matrix scatteredMatrix(unsigned m, unsigned n, std::uint64_t entries, std::uint64_t seed)
{
    Random random(seed);
    std::vector<std::uint64_t> keys;
    if (entries >= std::uint64_t{m} * n) {
        for (unsigned j = 0; j < n; ++j) {
            for (unsigned i = 0; i < m; ++i) {
                keys.push_back(key(j, i));
            }
        }
    } else {
        for (std::uint64_t e = 0; e < entries; ++e) {
            const unsigned column = random.below(n);
            keys.push_back(key(column, random.below(m)));
        }
    }
    return fromKeys(m, n, std::move(keys));
}

void setValues(Matrix& matrix, Values values)
{
    Random random(2);
    const auto draw = [&] { return values == Values::logical ? 1.0 : 0.5 + random.fraction(); };
    matrix.re.resize(matrix.ir.size());
    std::generate(matrix.re.begin(), matrix.re.end(), draw);
    matrix.im.resize(values == Values::complex ? matrix.ir.size() : 0);
    std::generate(matrix.im.begin(), matrix.im.end(), draw);
}

const Matrix& workload(const std::string& name, Values values)
{
    static std::map<std::pair<std::string, Values>, Matrix> made;
    const auto [at, isNew] = made.try_emplace({name, values});
    if (isNew) {
        at->second = makeWorkload(name);
        setValues(at->second, values);
    }
    return at->second;
}

double subscriptFactor(const std::string& name)
{
    static const std::map<std::string, double> factors = {
        {"uniform1", 0.1}, {"uniform4", 0.4}, {"uniform16", 1.6}, {"small10", 1e-5}, {"small100", 1e-5}};
    const auto at = factors.find(name);
    return at == factors.end() ? 1 : at->second;
}

} // namespace zqsp::bench
