// Whether the arrays of a sparse matrix keep their promises.
#ifndef ZQSP_PYTHON_ORDER_HPP
#define ZQSP_PYTHON_ORDER_HPP

#include <cstddef>
#include <span>

namespace zqsp::python {

enum class Order
{
    sound,
    unsorted ///< or with elements stored twice
};

/// Compressed columns of which nothing is known but that `starts` has n + 1 words and `rows` has `entries` of them,
/// fewer than 2^31. Where there is something to copy from, it is copied piece by piece as it is looked at, and only the
/// copy is believed.
struct Examined
{
    unsigned* starts;
    unsigned* rows;
    unsigned m;
    unsigned n;
    unsigned entries;
    const unsigned* startsFrom = nullptr;
    const unsigned* rowsFrom = nullptr;
};

/// One pass over the columns. std::invalid_argument for starts that descend or do not go from 0 to `entries`, and for
/// rows outside; columns out of order are no error.
Order orderOf(const Examined& columns);

/// A way to examine columns; each gives the same.
struct OrderMethod
{
    const char* name;
    Order (*find)(const Examined& columns);
};
/// Those that this processor can run, the fastest first.
std::span<const OrderMethod> orderMethods();

} // namespace zqsp::python

#endif
