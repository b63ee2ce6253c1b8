// The values of A(K) = B.
#ifndef ZQSP_ASSIGN_LINEAR_VALUES_HPP
#define ZQSP_ASSIGN_LINEAR_VALUES_HPP

#include "core/values.hpp"

namespace zqsp {

/// The values to assign: those that `b` stores, or its first one for all positions.
class AssignedValues
{
  public:
    AssignedValues(const Columns& source, bool isScalar)
        : b(source),
          isScalar_(isScalar),
          scalarIsZero_(isScalar && withStorage(source, [](auto values) { return values.isZero(0); }))
    {
    }

    const Columns& b;

    [[nodiscard]] bool isScalar() const { return isScalar_; }
    /// Which value of b goes to position t.
    [[nodiscard]] unsigned source(unsigned t) const { return isScalar_ ? 0 : t; }

    /// Whether position t is assigned a zero.
    [[nodiscard]] bool isZero(unsigned t) const
    {
        return isScalar_ ? scalarIsZero_ : withStorage(b, [t](auto values) { return values.isZero(t); });
    }

    [[nodiscard]] bool areAllZero() const { return scalarIsZero_; } // of a scalar; values are not looked through

    [[nodiscard]] bool anyZero(unsigned count) const
    {
        if (isScalar_) {
            return scalarIsZero_;
        }
        return withStorage(b, [count](auto values) {
            unsigned t = 0;
            while (t < count && !values.isZero(t)) {
                ++t;
            }
            return t < count;
        });
    }

    /// Whether b brings an imaginary part that is stored.
    [[nodiscard]] bool areComplex() const { return b.pi != nullptr && !scalarIsZero_; }

  private:
    bool isScalar_;
    bool scalarIsZero_;
};

} // namespace zqsp

#endif
