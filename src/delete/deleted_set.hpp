// What a deletion deletes: a set, so order and repeats of the subscript are gone.
#ifndef ZQSP_DELETE_DELETED_SET_HPP
#define ZQSP_DELETE_DELETED_SET_HPP

#include "core/owners.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// A converted subscript in strictly ascending order.
class DeletedSet
{
  public:
    /// `extent`: all indices are below it. A list that ascends already is taken as it is; any other is marked in a
    /// table of `extent` bytes where that is cheaper than sorting it. Raises on exhausted memory.
    DeletedSet(Subscript subscript, unsigned extent);

    [[nodiscard]] const Subscript& positions() const { return positions_; }
    /// Number of distinct positions.
    [[nodiscard]] unsigned count() const { return countOf(positions_); }

  private:
    Subscript positions_;
    Block<unsigned char> marks_; // what a marked list's mask looks at
};

} // namespace zqsp

#endif
