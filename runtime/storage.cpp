// Conversion between full and sparse storage.
#include "colon.hpp"
#include "create.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <numeric>
#include <type_traits>

namespace kxrt {
namespace {

/// The elements of a full matrix made entries, in two passes: one counts, the other fills blocks of the right size.
/// Neither decides anything for a single element, whose being zero no processor can foresee.
template <typename T, bool kComplex>
class Compression
{
  public:
    explicit Compression(const kxArray* full)
        : re_(static_cast<const T*>(full->pr)),
          im_(static_cast<const T*>(full->pi)),
          rows_(rowsOf(full)),
          columns_(columnsOf(full)),
          entries_(count(0, std::size_t{rows_} * columns_))
    {
    }

    [[nodiscard]] unsigned entries() const { return entries_; }

    /// Into an array with room for the entries.
    void fill(kxArray* made) const
    {
        if (rows_ == 1) {
            fillRow(made);
            return;
        }
        if (entries_ == std::size_t{rows_} * columns_) {
            copyAll(made);
            return;
        }
        unsigned entry = 0;
        for (std::size_t column = 0; column < columns_; ++column) {
            for (std::size_t row = 0; row < rows_; row += kPiece) {
                const std::size_t length = std::min<std::size_t>(kPiece, rows_ - row);
                entry = fillPiece(made, entry, column * rows_ + row, static_cast<unsigned>(row), length);
            }
            made->jc[column + 1] = entry;
        }
    }

  private:
    /// Short enough that a byte can count it.
    static constexpr std::size_t kPiece = 128;
    /// Where counting first, which may save the rest, costs more than the rest.
    static constexpr std::size_t kShortPiece = 16;

    /// 1 for an element that compares different from zero, else 0; in arithmetic that every processor does for several
    /// elements at a time.
    static auto nonZero(T value)
    {
        using Bits =
            std::conditional_t<sizeof(T) == 1, std::uint8_t,
                               std::conditional_t<sizeof(T) == 2, std::uint16_t,
                                                  std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;
        auto bits = std::bit_cast<Bits>(value);
        if constexpr (std::is_floating_point_v<T>) {
            bits = static_cast<Bits>(bits << 1); // without the sign
        }
        return static_cast<Bits>(static_cast<Bits>(bits | (Bits{0} - bits)) >> (8 * sizeof(T) - 1));
    }
    [[nodiscard]] auto entriesAt(std::size_t position) const
    {
        auto entry = nonZero(re_[position]);
        if constexpr (kComplex) {
            entry |= nonZero(im_[position]);
        }
        return entry;
    }

    [[nodiscard]] unsigned count(std::size_t position, std::size_t length) const
    {
        unsigned count = 0;
        for (const std::size_t end = position + length; position < end; position += kPiece) {
            decltype(entriesAt(0)) inPiece = 0;
            for (std::size_t i = position; i < std::min(position + kPiece, end); ++i) {
                inPiece = static_cast<decltype(inPiece)>(inPiece + entriesAt(i));
            }
            count += static_cast<unsigned>(inPiece);
        }
        return count;
    }

    /// Columns of one element each.
    void fillRow(kxArray* made) const
    {
        std::fill_n(made->ir, entries_, 0U);
        unsigned* const jc = made->jc;
        T* const re = static_cast<T*>(made->pr);
        T* const im = static_cast<T*>(made->pi);
        unsigned entry = 0;
        for (std::size_t column = 0; column < columns_; ++column) {
            if (entry != entries_) { // behind the last entry only zeros remain
                re[entry] = re_[column];
                if constexpr (kComplex) {
                    im[entry] = im_[column];
                }
            }
            entry += static_cast<unsigned>(entriesAt(column));
            jc[column + 1] = entry;
        }
    }

    /// Where no element is zero, the values are the entries already.
    void copyAll(kxArray* made) const
    {
        copyElements(made->pr, re_, entries_, sizeof(T));
        if constexpr (kComplex) {
            copyElements(made->pi, im_, entries_, sizeof(T));
        }
        for (std::size_t column = 0; column < columns_; ++column) {
            unsigned* rows = made->ir + column * rows_;
            std::iota(rows, rows + rows_, 0U);
            made->jc[column + 1] = static_cast<unsigned>((column + 1) * rows_);
        }
    }

    /// Fills from `entry` with a piece of a column, and returns where the next piece goes on.
    unsigned fillPiece(kxArray* made, unsigned entry, std::size_t position, unsigned row, std::size_t length) const
    {
        if (length > kShortPiece && count(position, length) == 0) {
            return entry;
        }
        return entries_ - entry >= length ? writeAll<false>(made, entry, position, row, length)
                                          : writeAll<true>(made, entry, position, row, length);
    }

    /// Writes every element, over the one before unless that was an entry. Near the end of the blocks: up to the last
    /// entry, behind which are only zeros.
    template <bool kNearEnd>
    unsigned writeAll(kxArray* made, unsigned entry, std::size_t position, unsigned row, std::size_t length) const
    {
        unsigned* const ir = made->ir;
        T* const re = static_cast<T*>(made->pr);
        T* const im = static_cast<T*>(made->pi);
        const T* const from = re_ + position;
        for (std::size_t i = 0; i < length; ++i) {
            if (kNearEnd && entry == entries_) {
                break;
            }
            ir[entry] = row + static_cast<unsigned>(i);
            re[entry] = from[i];
            if constexpr (kComplex) {
                im[entry] = im_[position + i];
            }
            entry += static_cast<unsigned>(entriesAt(position + i));
        }
        return entry;
    }

    const T* re_;
    const T* im_;
    unsigned rows_;
    unsigned columns_;
    unsigned entries_;
};

template <typename T, bool kComplex>
ArrayOwner compress(const kxArray* array)
{
    const Compression<T, kComplex> compression(array);
    const unsigned nzmax = std::max(compression.entries(), 1U);
    ArrayOwner made = newSparse(rowsOf(array), columnsOf(array), nzmax, classOf(array), complexityOf(array));
    compression.fill(made.get());
    return made;
}

template <typename T>
void expand(const kxArray* array, const void* from, void* to)
{
    const auto* source = static_cast<const T*>(from);
    auto* column = static_cast<T*>(to);
    for (unsigned j = 0; j < columnsOf(array); ++j, column += rowsOf(array)) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            column[array->ir[e]] = source[e];
        }
    }
}

ArrayOwner expandAll(const kxArray* array)
{
    const kxClassID id = classOf(array);
    ArrayOwner made = newZeroedFull(dimensions(array), id, complexityOf(array));
    withElementWidth(id, [&]<typename T>(std::type_identity<T>) {
        expand<T>(array, array->pr, made->pr);
        if (isComplex(array)) {
            expand<T>(array, array->pi, made->pi);
        }
    });
    return made;
}

} // namespace
} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxMustBeSparse(const kxArray* array)
{
    if (isSparse(array)) {
        return const_cast<kxArray*>(array);
    }
    requireKnownClass(classOf(array));
    if (array->ndims > 2) {
        raiseInvalidOperand("A sparse array has two dimensions, not " + std::to_string(array->ndims) + ".");
    }
    const ArrayOwner values = isColonObject(array) ? valuesOf(array, kxDOUBLE_CLASS) : nullptr;
    const kxArray* full = values != nullptr ? values.get() : array;
    return withElementType(classOf(full), [full]<typename T>(std::type_identity<T>) {
        return (isComplex(full) ? compress<T, true>(full) : compress<T, false>(full)).release();
    });
}

kxArray* kxMustBeFull(const kxArray* array)
{
    if (isColonObject(array)) {
        return valuesOf(array, kxDOUBLE_CLASS).release();
    }
    return isSparse(array) ? expandAll(array).release() : const_cast<kxArray*>(array);
}

} // namespace matrix::detail::noninlined::kx_array_api
