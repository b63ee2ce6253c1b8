#include "concatenation.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace kxsh {

namespace {

struct Block
{
    Value value;
    unsigned row; ///< 0-based place of its upper left corner
    unsigned column;
};

/// Blocks with their places, and the size of the whole.
struct Layout
{
    std::vector<Block> blocks;
    unsigned m = 0;
    unsigned n = 0;
};

unsigned added(unsigned a, unsigned b)
{
    unsigned sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        throw Error("kx:sizeLimit", "the array between the brackets is too large");
    }
    return sum;
}

Layout layOut(const std::vector<std::vector<Value>>& rows)
{
    Layout layout;
    for (const auto& row : rows) {
        unsigned height = 0;
        unsigned width = 0;
        bool first = true;
        for (const Value& value : row) {
            if (value.rows() == 0 && value.columns() == 0) {
                continue;
            }
            if (!first && value.rows() != height) {
                throw Error("kxsh:operand",
                            fmt::format("blocks of {} and {} rows cannot stand side by side", height, value.rows()));
            }
            first = false;
            height = value.rows();
            layout.blocks.push_back({elementsOf(value), layout.m, width});
            width = added(width, value.columns());
        }
        if (first) {
            continue;
        }
        if (layout.blocks.front().row != layout.m && width != layout.n) {
            throw Error("kxsh:operand",
                        fmt::format("rows of {} and {} columns cannot stand on each other", layout.n, width));
        }
        layout.n = width;
        layout.m = added(layout.m, height);
    }
    return layout;
}

kxClassID commonClass(const std::vector<Block>& blocks)
{
    const auto has = [&](auto test) {
        return std::find_if(blocks.begin(), blocks.end(),
                            [&](const Block& block) { return test(block.value.classId()); });
    };
    const auto integer = has(isIntegerClass);
    if (integer != blocks.end()) {
        return integer->value.classId();
    }
    for (const kxClassID id : {kxCHAR_CLASS, kxSINGLE_CLASS}) {
        if (has([id](kxClassID other) { return other == id; }) != blocks.end()) {
            return id;
        }
    }
    return has([](kxClassID id) { return id != kxLOGICAL_CLASS; }) == blocks.end() ? kxLOGICAL_CLASS : kxDOUBLE_CLASS;
}

/// Copies entries of a block to where `next` stands in the whole.
template <typename T>
void appendEntries(const Value& part, unsigned first, unsigned count, unsigned rowOffset, Value& whole, unsigned next)
{
    const unsigned* from = part.rowIndices() + first;
    unsigned* to = whole.rowIndices() + next;
    for (unsigned k = 0; k < count; ++k) {
        to[k] = from[k] + rowOffset;
    }
    std::copy_n(part.data<T>() + first, count, whole.data<T>() + next);
    if (const T* im = part.imagData<T>()) {
        std::copy_n(im + first, count, whole.imagData<T>() + next);
    } else if (whole.isComplex()) {
        std::fill_n(whole.imagData<T>() + next, count, T{});
    }
}

/// Blocks of the whole height, one beside the other: each goes over in large pieces.
template <typename T>
void putSideBySide(const std::vector<Block>& blocks, Value& whole)
{
    constexpr unsigned kPiece = 1U << 20;
    unsigned next = 0;
    for (const Block& block : blocks) {
        const unsigned* from = block.value.starts();
        const unsigned count = block.value.entries();
        for (unsigned first = 0; first < count; first += kPiece) {
            pollInterrupt();
            appendEntries<T>(block.value, first, std::min(kPiece, count - first), 0, whole, next + first);
        }
        std::transform(from, from + block.value.columns(), whole.starts() + block.column,
                       [next](unsigned start) { return next + start; });
        next += count;
    }
    whole.starts()[whole.columns()] = next;
}

/// Column by column, from the uppermost block down.
template <typename T>
void stack(const std::vector<Block>& blocks, Value& whole)
{
    unsigned* starts = whole.starts();
    const unsigned n = whole.columns();
    for (const Block& block : blocks) {
        for (unsigned j = 0; j < block.value.columns(); ++j) {
            starts[block.column + j + 1] += block.value.starts()[j + 1] - block.value.starts()[j];
        }
    }
    unsigned first = 0;
    for (unsigned j = 0; j < n; ++j) {
        starts[j] = std::exchange(first, first + starts[j + 1]);
    }
    for (const Block& block : blocks) { // now starts[j] is where column j goes on
        const unsigned* from = block.value.starts();
        for (unsigned j = 0; j < block.value.columns(); ++j) {
            pollInterrupt();
            unsigned& next = starts[block.column + j];
            const unsigned count = from[j + 1] - from[j];
            appendEntries<T>(block.value, from[j], count, block.row, whole, next);
            next += count;
        }
    }
    std::copy_backward(starts, starts + n, starts + n + 1);
    starts[0] = 0;
}

Value sparseWhole(Layout layout, kxClassID id, bool complex)
{
    std::uint64_t entries = 0;
    for (Block& block : layout.blocks) {
        block.value = converted(asSparse(block.value), id);
        entries += block.value.entries();
    }
    Value whole = Value::sparse(layout.m, layout.n, entryCount(entries), id, complex ? kxCOMPLEX : kxREAL);
    const bool sideBySide = std::all_of(layout.blocks.begin(), layout.blocks.end(),
                                        [&](const Block& block) { return block.value.rows() == layout.m; });
    withElementType(id, [&]<typename T>(std::type_identity<T>) {
        sideBySide ? putSideBySide<T>(layout.blocks, whole) : stack<T>(layout.blocks, whole);
    });
    return whole;
}

void copyBlock(void* whole, const void* part, const Block& block, unsigned m, std::size_t size)
{
    const std::size_t height = block.value.rows();
    for (std::size_t j = 0; j < block.value.columns() && height != 0; ++j) {
        pollInterrupt();
        std::memcpy(static_cast<char*>(whole) + ((block.column + j) * m + block.row) * size,
                    static_cast<const char*>(part) + j * height * size, height * size);
    }
}

Value fullWhole(const Layout& layout, kxClassID id, bool complex)
{
    Value whole = Value::full(layout.m, layout.n, id, complex ? kxCOMPLEX : kxREAL);
    const std::size_t size = kx::kxGetElementSize(whole.get());
    for (const Block& block : layout.blocks) {
        const Value part = converted(block.value, id);
        copyBlock(whole.get()->pr, part.get()->pr, block, layout.m, size);
        if (part.isComplex()) {
            copyBlock(whole.get()->pi, part.get()->pi, block, layout.m, size);
        }
    }
    return whole;
}

} // namespace

Value concatenate(const std::vector<std::vector<Value>>& rows)
{
    pollInterrupt();
    const Layout layout = layOut(rows);
    if (layout.blocks.empty()) {
        return Value::full(0, 0);
    }
    const auto any = [&](auto test) {
        return std::any_of(layout.blocks.begin(), layout.blocks.end(),
                           [&](const Block& block) { return test(block.value); });
    };
    const bool complex = any([](const Value& value) { return value.isComplex(); });
    const kxClassID id = commonClass(layout.blocks);
    return any([](const Value& value) { return value.isSparse(); }) ? sparseWhole(layout, id, complex)
                                                                    : fullWhole(layout, id, complex);
}

} // namespace kxsh
