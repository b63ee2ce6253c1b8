// Columns: what all code below the exports knows of a sparse array.
#ifndef ZQSP_CORE_COLUMNS_HPP
#define ZQSP_CORE_COLUMNS_HPP

#include "core/runtime.hpp"

#include <cstddef>

namespace zqsp {

/// A trivially copyable view of a sparse array, made once per call. It owns nothing and goes stale when the array's
/// blocks are replaced. Entry e of column j (jc[j] <= e < jc[j+1]) lies in row ir[e], 0-based and strictly
/// increasing within the column.
struct Columns
{
    unsigned m;
    unsigned n;
    unsigned nzmax;
    unsigned* jc;
    unsigned* ir;
    std::byte* pr;
    std::byte* pi; ///< null for a real array
    unsigned elementSize;
    kxClassID classId;

    [[gnu::noinline]] explicit Columns(const kxArray* array) : Columns(array, array->get_dimensions()) {}
    /// Of an array that is known to be m-by-n.
    [[gnu::always_inline]] Columns(const kxArray* array, unsigned rows, unsigned columns)
        : m(rows),
          n(columns),
          nzmax(array->nzmax),
          jc(array->jc),
          ir(array->ir),
          pr(static_cast<std::byte*>(array->pr)),
          pi(isComplex(array) ? static_cast<std::byte*>(array->pi) : nullptr),
          elementSize(array->class_id == kxDOUBLE_CLASS ? sizeof(double) : kxGetElementSize(array)),
          classId(classOf(array))
    {
    }

    [[nodiscard]] unsigned nnz() const { return jc[n]; }
    [[nodiscard]] unsigned length(unsigned column) const { return jc[column + 1] - jc[column]; }
    [[nodiscard]] kxComplexity complexity() const { return pi != nullptr ? kxCOMPLEX : kxREAL; }

  private:
    Columns(const kxArray* array, const unsigned* dims) : Columns(array, dims[0], columnsOf(array, dims)) {}
};

} // namespace zqsp

#endif
