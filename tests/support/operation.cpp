#include "support/operation.hpp"

#include <sstream>

namespace zqsp::test {

namespace {

/// On operands of its own; leaks of theirs are told too.
Made makeOnce(const Operation& op, const Outcome& expected, long failing)
{
    const LeakCheck everything;
    Made made = makeAndCheck(Call(op), op, expected, failing);
    made.complaint += everything.complaint();
    return made;
}

std::string explained(const std::string& complaint, const Operation& op, long failing)
{
    if (complaint.empty()) {
        return "";
    }
    std::ostringstream out;
    out << op;
    if (failing > 0) {
        out << "\n  with allocation " << failing << " failing";
    }
    out << complaint;
    return out.str();
}

} // namespace

Made makeAndCheck(const Call& call, const Operation& op, const Outcome& expected, long failing)
{
    const std::vector<const kxArray*> unfailed = call.unchanging(false);
    const std::vector<Snapshot> before(unfailed.begin(), unfailed.end());
    const std::vector<const kxArray*> untouched = call.unchanging(true);
    const std::vector<Snapshot> readOnly(untouched.begin(), untouched.end());
    kxArray* const unset = call.target(); // any address that is no result
    kxArray* out = unset;
    const LeakCheck leaks;

    const long asked = kxrt::allocations();
    kxrt::fail_allocation_after(failing);
    Made made{.ended = run([&] { return call.make(&out); })};
    kxrt::fail_allocation_after(-1);
    made.allocations = kxrt::allocations() - asked;
    made.faulted = failing > 0 && made.allocations >= failing;

    std::ostringstream complaint;
    const Array result(isReference(op.callee) && out != unset ? out : nullptr);
    if (!(made.faulted && made.ended.ranOutOfMemory()) && made.ended != expected.ended) {
        complaint << "\n  ended with " << made.ended << ", expected " << expected.ended;
    } else if (made.ended.completed()) {
        const kxArray* array = isReference(op.callee) ? result.get() : call.target();
        complaint << (array == nullptr ? "no result" : diff(array, expected.result));
    }
    if (!made.ended.completed() && (result.get() != nullptr || !leaks.complaint().empty())) {
        complaint << "\n  failed, yet " << (result.get() != nullptr ? "gave a result" : leaks.complaint());
    }
    for (const Snapshot& snapshot : made.ended.completed() ? readOnly : before) {
        if (const std::string changes = snapshot.changes(); !changes.empty()) {
            complaint << "\n  operand changed: " << changes;
        }
    }
    made.complaint = complaint.str();
    return made;
}

Outcome predict(const Operation& operation)
{
    try {
        return {Ended(), modelled(resolved(operation))};
    } catch (const Failure& failure) {
        return {failure, {}};
    }
}

std::string checkOperation(const Operation& operation)
{
    return explained(makeOnce(operation, predict(operation), -1).complaint, operation, -1);
}

std::string checkFaults(const Operation& operation, unsigned* faults)
{
    const Outcome expected = predict(operation);
    bool faulted = true;
    for (long n = 1; faulted; ++n) {
        const Made made = makeOnce(operation, expected, n);
        if (!made.complaint.empty()) {
            return explained(made.complaint, operation, n);
        }
        faulted = made.faulted;
        if (faults != nullptr && faulted) {
            ++*faults;
        }
    }
    return "";
}

} // namespace zqsp::test
