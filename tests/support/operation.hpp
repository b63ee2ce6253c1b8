// A whole call of one export, described by models: it can be predicted, made and checked, made to run out of memory
// at every allocation, printed and shrunk. Almost every test is one line of these.
//
//     EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = Subscript::list({3, 1, 3})}));
//     EXPECT_EQ("", checkFaults({.callee = Export::Ass6, .a = a, .b = RightSide::scalar(5), .i = i, .j = j}));
#ifndef ZQSP_TESTS_SUPPORT_OPERATION_HPP
#define ZQSP_TESTS_SUPPORT_OPERATION_HPP

#include "support/checks.hpp"
#include "support/model_operations.hpp"

#include <iosfwd>
#include <string>
#include <vector>

namespace zqsp::test {

enum class Export
{
    Ref2,
    Ref3,
    Ref4,
    Ref5,
    Ref6,
    ReferenceByLists,  ///< kxSparseReference; subscripts are lists or the bare colon (a null list)
    ReferenceByRanges, ///< kxSparseColonReference; both subscripts are ranges of 32-bit numbers
    Ass3,
    Ass4,
    Ass5,
    Ass6,
    DeleteColumns,
    DeleteRows,
    DeleteElements,
    Reshape ///< to newM-by-newN, which must be a legal shape
};

/// Every export that takes a sparse array.
std::vector<Export> everyExport();
const char* nameOf(Export callee);
bool isReference(Export callee);
bool isAssignment(Export callee);
bool isDeletion(Export callee);

/// What an operand is, other than an array of its own.
enum class Alias
{
    None,
    Target,         ///< the target itself
    SharesTarget,   ///< another array with the target's data blocks
    SharesSubscript ///< j only: another array with the data blocks of i
};

struct Operation
{
    Export callee = Export::Ref2;
    Model a = {};
    RightSide b = {}; ///< assignments
    Subscript i = {}; ///< the only subscript, or the rows
    Subscript j = {}; ///< the columns where there are two subscripts
    unsigned newM = 0;
    unsigned newN = 0;
    Alias bIs = Alias::None;
    Alias iIs = Alias::None;
    Alias jIs = Alias::None;
};

/// How a call ends; when it completes, what the new array or the target is then.
struct Outcome
{
    Ended ended;
    Model result;
};

Outcome predict(const Operation& operation);

// ---- The parts that whole checks are made of ----

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

// ---- Whole checks ----

/// Makes the call and compares: the outcome, every operand that must not change byte for byte, and leaks. "" when
/// all is well, else a text that names the call, its operands and the difference.
std::string checkOperation(const Operation& operation);

/// Makes the call with its 1st, 2nd, ... allocation failing until none is left to fail. Each time it must either run
/// out of memory, leave every operand byte for byte as it was and leak nothing, or complete as predicted. "" or a text.
/// `faults`: where the number of injected failures is added up.
std::string checkFaults(const Operation& operation, unsigned* faults = nullptr);

std::ostream& operator<<(std::ostream& out, const Operation& operation);

} // namespace zqsp::test

#endif
