// Sparse arrays from entries in any order.
#ifndef KXSH_ASSEMBLY_HPP
#define KXSH_ASSEMBLY_HPP

#include "value.hpp"

#include <cstddef>

namespace kxsh {

/// Builds an m-by-n sparse array in two rounds over its entries: count() each, startPlacing(), place() each in any
/// order, finish(). Takes the memory of the result and of its largest column. Cost: entries + n, and a sort of each
/// column that is not placed in ascending order.
class Assembly
{
  public:
    Assembly(unsigned m, unsigned n, kxClassID id, kxComplexity complexity)
        : value_(Value::sparse(m, n, 1, id, complexity)), starts_(value_.starts())
    {
    }

    /// `column` is 0-based and below n.
    void count(unsigned column)
    {
        ++starts_[column + 1];
        ++total_;
    }
    /// Raises kx:sizeLimit when the entries are too many.
    void startPlacing();
    /// `re` is of the element type of the class; `im` counts for complex arrays.
    template <typename T>
    void place(unsigned row, unsigned column, T re, T im = T{})
    {
        const unsigned at = starts_[column]++;
        rows_[at] = row;
        static_cast<T*>(re_)[at] = re;
        if (im_ != nullptr) {
            static_cast<T*>(im_)[at] = im;
        }
    }
    /// Entries of one place are summed in their order (of integer classes held at the ends of the range), zeros
    /// dropped, and an imaginary part of zeros; nzmax is the exact count.
    Value finish();

  private:
    Value value_;
    unsigned* starts_; ///< counts of the columns, then their first places, which move to their ends as they are filled
    unsigned* rows_ = nullptr;
    void* re_ = nullptr;
    void* im_ = nullptr;
    std::uint64_t total_ = 0;
};

} // namespace kxsh

#endif
