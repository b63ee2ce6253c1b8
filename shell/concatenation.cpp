// [a, b; c, d]
#include "operators.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <algorithm>
#include <utility>

namespace kxsh {

namespace {

/// A value between the brackets.
struct Part
{
    Value value;
    unsigned row; ///< 0-based place of its upper left corner
    unsigned column;
};

/// Parts with their places, and the size of the whole.
struct Layout
{
    std::vector<Part> parts;
    unsigned m = 0;
    unsigned n = 0;
};

unsigned added(unsigned a, unsigned b)
{
    unsigned sum = 0;
    require(!__builtin_add_overflow(a, b, &sum), "kx:sizeLimit", "the array between the brackets is too large");
    return sum;
}

Layout layOut(const std::vector<std::vector<Value>>& rows)
{
    Layout layout;
    for (const auto& row : rows) {
        const std::size_t before = layout.parts.size();
        unsigned height = 0;
        unsigned width = 0;
        for (const Value& value : row) {
            if (value.rows() == 0 && value.columns() == 0) {
                continue;
            }
            const bool first = layout.parts.size() == before;
            require(first || value.rows() == height, "kxsh:operand",
                    "blocks of {} and {} rows cannot stand side by side", height, value.rows());
            height = value.rows();
            layout.parts.push_back({elementsOf(value), layout.m, width});
            width = added(width, value.columns());
        }
        if (layout.parts.size() != before) {
            require(layout.m == 0 || width == layout.n, "kxsh:operand",
                    "rows of {} and {} columns cannot stand on each other", layout.n, width);
            layout.n = width;
            layout.m = added(layout.m, height);
        }
    }
    return layout;
}

/// The first of the highest rank.
kxClassID commonClass(const std::vector<Part>& parts)
{
    const auto rank = [](kxClassID id) {
        return isIntegerClass(id)     ? 4
               : id == kxCHAR_CLASS   ? 3
               : id == kxSINGLE_CLASS ? 2
               : id == kxDOUBLE_CLASS ? 1
                                      : 0;
    };
    kxClassID common = kxLOGICAL_CLASS;
    for (const Part& part : parts) {
        common = rank(part.value.classId()) > rank(common) ? part.value.classId() : common;
    }
    return common;
}

/// Copies entries of a part to where `next` stands in the whole.
void appendEntries(const Part& part, unsigned first, unsigned count, Value& whole, unsigned next)
{
    const unsigned* from = part.value.rowIndices() + first;
    std::transform(from, from + count, whole.rowIndices() + next, [&](unsigned row) { return row + part.row; });
    copyValues(part.value, first, count, whole, next);
}

/// Parts of the whole height, one beside the other: each goes over in large pieces.
void putSideBySide(const std::vector<Part>& parts, Value& whole)
{
    constexpr unsigned kPiece = 1U << 20;
    unsigned next = 0;
    for (const Part& part : parts) {
        const unsigned* from = part.value.starts();
        const unsigned count = part.value.entries();
        for (unsigned first = 0; first < count; first += kPiece) {
            pollInterrupt();
            appendEntries(part, first, std::min(kPiece, count - first), whole, next + first);
        }
        std::transform(from, from + part.value.columns(), whole.starts() + part.column,
                       [next](unsigned start) { return next + start; });
        next += count;
    }
    whole.starts()[whole.columns()] = next;
}

/// Column by column, from the uppermost part down.
void stack(const std::vector<Part>& parts, Value& whole)
{
    unsigned* starts = whole.starts();
    const unsigned n = whole.columns();
    for (const Part& part : parts) {
        for (unsigned j = 0; j < part.value.columns(); ++j) {
            starts[part.column + j + 1] += part.value.starts()[j + 1] - part.value.starts()[j];
        }
    }
    unsigned first = 0;
    for (unsigned j = 0; j < n; ++j) {
        starts[j] = std::exchange(first, first + starts[j + 1]);
    }
    for (const Part& part : parts) { // now starts[j] is where column j goes on
        const unsigned* from = part.value.starts();
        for (unsigned j = 0; j < part.value.columns(); ++j) {
            pollInterrupt();
            const unsigned count = from[j + 1] - from[j];
            appendEntries(part, from[j], count, whole,
                          std::exchange(starts[part.column + j], starts[part.column + j] + count));
        }
    }
    std::copy_backward(starts, starts + n, starts + n + 1);
    starts[0] = 0;
}

Value sparseWhole(const Layout& layout, kxClassID id, kxComplexity complexity)
{
    std::uint64_t entries = 0;
    bool sideBySide = true;
    std::vector<Part> parts = layout.parts;
    for (Part& part : parts) {
        part.value = converted(asSparse(part.value), id);
        entries += part.value.entries();
        sideBySide = sideBySide && part.value.rows() == layout.m;
    }
    std::erase_if(parts, [](const Part& part) { return part.value.rows() == 0; }); // they may be wider than the whole
    Value whole = Value::sparse(layout.m, layout.n, entryCount(entries), id, complexity);
    sideBySide ? putSideBySide(parts, whole) : stack(parts, whole);
    return whole;
}

Value fullWhole(const Layout& layout, kxClassID id, kxComplexity complexity)
{
    Value whole = Value::full(layout.m, layout.n, id, complexity);
    for (const Part& part : layout.parts) {
        const Value value = converted(part.value, id);
        const std::size_t height = value.rows();
        for (std::size_t j = 0; j < value.columns(); ++j) {
            pollInterrupt();
            copyValues(value, j * height, height, whole, (part.column + j) * layout.m + part.row);
        }
    }
    return whole;
}

} // namespace

Value concatenate(const std::vector<std::vector<Value>>& rows)
{
    pollInterrupt();
    const Layout layout = layOut(rows);
    if (layout.parts.empty()) {
        return Value::full(0, 0);
    }
    bool complex = false;
    bool sparse = false;
    for (const Part& part : layout.parts) {
        complex = complex || part.value.isComplex();
        sparse = sparse || part.value.isSparse();
    }
    return (sparse ? sparseWhole : fullWhole)(layout, commonClass(layout.parts), complex ? kxCOMPLEX : kxREAL);
}

} // namespace kxsh
