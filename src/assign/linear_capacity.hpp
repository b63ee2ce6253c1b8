// The capacity that assigning elements one after another leaves.
#ifndef ZQSP_ASSIGN_LINEAR_CAPACITY_HPP
#define ZQSP_ASSIGN_LINEAR_CAPACITY_HPP

#include "core/columns.hpp"

namespace zqsp {

/// The capacity that a full m-by-n target is given for one more entry: a step more, as far as the matrix and the
/// signed 32-bit range go, else one more. Raises the out-of-memory error where there is none.
unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n);

/// Insertions and removals in their order.
class CapacityReplay
{
  public:
    explicit CapacityReplay(const Columns& a) : stored_(a.nnz()), capacity_(a.nzmax) {}

    /// So many insertions into an m-by-n target.
    void insert(unsigned count, unsigned m, unsigned n);
    void remove(unsigned count) { stored_ -= count; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    unsigned stored_;
    unsigned capacity_;
};

} // namespace zqsp

#endif
