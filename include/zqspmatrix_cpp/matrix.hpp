// The members of BasicView and BasicMatrix that call the library. Included by zqspmatrix.hpp alone.
#ifndef ZQSPMATRIX_CPP_MATRIX_HPP
#define ZQSPMATRIX_CPP_MATRIX_HPP

namespace zqspmatrix {

namespace detail {

inline Index::Index(const BasicView<bool>& mask) : array_(mask.array()) {}

/// `array`, on lent columns, unless it breaks a promise of BasicMatrix::view.
template <typename T>
void requireSound(const kxArray* array)
{
    if (const std::string broken = kx::kxCheckSparse(array); !broken.empty()) {
        failOperand("these are no compressed columns: " + broken + " (rows and columns counted from 1)");
    }
    if constexpr (std::same_as<T, bool>) {
        const std::span<const bool> values(static_cast<const bool*>(array->pr), entriesOf(array));
        if (std::ranges::find(values, false) != values.end()) {
            failOperand("a sparse matrix of bool stores nothing that is false");
        }
    }
}

} // namespace detail

template <Element T>
template <detail::Integer I, detail::Integer J>
T BasicView<T>::operator()(I row, J column) const
{
    if (std::cmp_less(row, 0) || std::cmp_greater_equal(row, rows())) {
        detail::fail(spIndexOutOfRange,
                     "row " + std::to_string(row) + " lies outside the " + detail::shapeText(array()) + " matrix");
    }
    if (std::cmp_less(column, 0) || std::cmp_greater_equal(column, cols())) {
        detail::fail(spIndexOutOfRange, "column " + std::to_string(column) + " lies outside the " +
                                            detail::shapeText(array()) + " matrix");
    }
    const unsigned* begin = array()->ir + array()->jc[static_cast<std::size_t>(column)];
    const unsigned* end = array()->ir + array()->jc[static_cast<std::size_t>(column) + 1];
    const unsigned* place = std::lower_bound(begin, end, static_cast<unsigned>(row));
    const bool stored = place != end && *place == static_cast<unsigned>(row);
    return stored ? detail::valueAt<T>(array(), static_cast<std::size_t>(place - array()->ir)) : T{};
}

template <Element T>
template <Subscript I, Subscript J>
BasicMatrix<T> BasicView<T>::get(const I& row_subscript, const J& column_subscript) const
{
    return detail::translated([&] {
        return BasicMatrix<T>(detail::refer(array(), detail::Index(row_subscript), detail::Index(column_subscript)));
    });
}

template <Element T>
template <Subscript K>
BasicMatrix<T> BasicView<T>::get(const K& element_subscript) const
{
    return detail::translated([&] { return BasicMatrix<T>(detail::refer(array(), detail::Index(element_subscript))); });
}

template <Element T>
template <detail::Integer M, detail::Integer N>
BasicMatrix<T>::BasicMatrix(M rows, N cols)
    : View(detail::translated(
          [&] { return detail::newSparse<T>(detail::sizeOf(rows, "rows"), detail::sizeOf(cols, "columns"), 0); }))
{
}

template <Element T>
template <detail::Integer M, detail::Integer N, detail::IndexList I, detail::IndexList J, detail::SequenceInto<T> V>
BasicMatrix<T> BasicMatrix<T>::from_triplets(M rows, N cols, const I& i, const J& j, const V& v)
{
    return detail::translated([&] {
        return BasicMatrix(detail::assemble<T>(detail::sizeOf(rows, "rows"), detail::sizeOf(cols, "columns"), i, j, v));
    });
}

template <Element T>
template <detail::Integer M, detail::Integer N, LastingIndices Starts, LastingIndices Rows, LastingValues<T> Values>
BasicView<T> BasicMatrix<T>::view(M rows, N cols, Starts&& column_starts, Rows&& row_indices, Values&& values,
                                  bool check)
{
    return detail::translated([&] {
        const unsigned m = detail::sizeOf(rows, "rows");
        const unsigned n = detail::sizeOf(cols, "columns");
        // Signed or not, the words are the same.
        const auto* starts = reinterpret_cast<const unsigned*>(std::ranges::data(column_starts));
        const auto* places = reinterpret_cast<const unsigned*>(std::ranges::data(row_indices));
        if (std::ranges::size(column_starts) != std::size_t{n} + 1) {
            detail::failOperand(std::to_string(n) + " columns have " + std::to_string(std::size_t{n} + 1) +
                                " column starts, not " + std::to_string(std::ranges::size(column_starts)));
        }
        if (starts[n] > std::ranges::size(row_indices) || starts[n] > std::ranges::size(values)) {
            detail::failOperand("the column starts end at " + std::to_string(starts[n]) + ", but there are " +
                                std::to_string(std::ranges::size(row_indices)) + " rows and " +
                                std::to_string(std::ranges::size(values)) + " values");
        }
        const std::span<const T> entries(std::ranges::data(values), starts[n]);
        View lent(detail::lend<T>(m, n, starts, places, entries));
        if (check) {
            detail::requireSound<T>(lent.array());
        }
        return lent;
    });
}

template <Element T>
template <Subscript I, Subscript J, ValueFor<T> V>
void BasicMatrix<T>::set(const I& row_subscript, const J& column_subscript, const V& value)
{
    detail::translated([&] {
        detail::assign(target(), detail::Index(row_subscript), detail::Index(column_subscript),
                       detail::RightSide<T>(value).get());
    });
}

template <Element T>
template <Subscript K, ValueFor<T> V>
void BasicMatrix<T>::set(const K& element_subscript, const V& value)
{
    detail::translated(
        [&] { detail::assign(target(), detail::Index(element_subscript), detail::RightSide<T>(value).get()); });
}

template <Element T>
template <Subscript I>
void BasicMatrix<T>::erase_rows(const I& row_subscript)
{
    detail::translated([&] { detail::eraseRows(target(), detail::Index(row_subscript)); });
}

template <Element T>
template <Subscript J>
void BasicMatrix<T>::erase_columns(const J& column_subscript)
{
    detail::translated([&] { detail::eraseColumns(target(), detail::Index(column_subscript)); });
}

template <Element T>
template <Subscript K>
void BasicMatrix<T>::erase(const K& element_subscript)
{
    detail::translated([&] { detail::eraseElements(target(), detail::Index(element_subscript)); });
}

template <Element T>
template <detail::Integer M, detail::Integer N>
void BasicMatrix<T>::reshape(M rows, N cols)
{
    detail::translated(
        [&] { detail::reshape(target(), detail::sizeOf(rows, "rows"), detail::sizeOf(cols, "columns")); });
}

} // namespace zqspmatrix

#endif
