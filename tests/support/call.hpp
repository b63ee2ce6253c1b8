// The runtime arrays of one operation, and the call itself. Tests use operation.hpp, which stands on this.
#ifndef ZQSP_TESTS_SUPPORT_CALL_HPP
#define ZQSP_TESTS_SUPPORT_CALL_HPP

#include "support/operation.hpp"

#include <string>
#include <vector>

namespace zqsp::test {

/// The operation with its aliased operands described by what they are.
Operation resolved(Operation operation);
/// What the models say the resolved operation gives; throws Failure.
Model modelled(const Operation& operation);

/// The operands of one call. An alias that is the target itself has no array of its own.
class Call
{
  public:
    explicit Call(const Operation& operation);
    /// On a target that stands already and holds operation.a.
    Call(const Operation& operation, Array target);

    [[nodiscard]] kxArray* target() const { return a_.get(); }
    /// The arrays that a call must not change: all but the target, and that too where it fails or is only read.
    [[nodiscard]] std::vector<const kxArray*> unchanging(bool completed) const;

    [[nodiscard]] Array takeTarget() { return std::move(a_); }

    /// Makes the call; the new array of a reference goes to *out.
    spStatus make(kxArray** out) const;

  private:
    template <typename Description>
    [[nodiscard]] Array operand(Alias is, const Description& description) const;
    [[nodiscard]] kxArray* pointer(const Array& array) const { return array.get() != nullptr ? array.get() : a_.get(); }

    Operation op_;
    Array a_;
    Array b_;
    Array i_;
    Array j_;
};

/// How a call went.
struct Made
{
    Ended ended;
    bool faulted = false;       ///< whether an allocation failed
    long allocations = 0;       ///< asked for
    std::string complaint = {}; ///< "" when all is well
};

/// Makes the call, the `failing`-th allocation failing (none when negative), and compares: the outcome, every operand
/// that must not change byte for byte, and that a failing call neither leaks nor gives a result.
Made makeAndCheck(const Call& call, const Operation& operation, const Outcome& expected, long failing = -1);

} // namespace zqsp::test

#endif
