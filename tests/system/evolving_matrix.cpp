#include "system/evolving_matrix.hpp"

#include "support/draw.hpp"
#include "support/operation.hpp"

#include <sstream>

namespace zqsp::test {

namespace {

/// Far more than any call needs for the few entries at hand, and far less than their extents.
constexpr std::size_t kLargestBlock = std::size_t{1} << 22;

/// Blocks that an array holds, its header included.
std::size_t blocksOf(const kxArray* array)
{
    std::size_t blocks = array->ndims > 2 ? 2 : 1;
    for (const void* block : {array->pr, array->pi, static_cast<void*>(array->ir), static_cast<void*>(array->jc)}) {
        blocks += block != nullptr ? 1 : 0;
    }
    return blocks;
}

} // namespace

void EvolvingMatrix::renew()
{
    isAtLimits_ = drawOneIn(2);
    maximum_ = isAtLimits_ && drawOneIn(2) ? 0xFFFFFFFF : 0x7FFFFFFF;
    model_ = isAtLimits_ ? drawModel(drawStorage(), Shape::AtLimit) : drawTarget(Export::Ass6, drawStorage());
    target_ = toArray(model_);
}

/// The target becomes something else now and then, lest it shrinks to nothing for good.
bool EvolvingMatrix::isSpent() const
{
    const bool isFull = !model_.sparse && !model_.isEmpty(); // what a target without a class may have been given
    const bool isLarge = isAtLimits_ ? model_.nnz() > 1000 : model_.numel() > 4000;
    return isFull || model_.nnz() == 0 || isLarge || drawOneIn(25);
}

std::string EvolvingMatrix::step()
{
    if (isSpent()) {
        renew();
    }
    const MaxElements maximum(maximum_);
    const LargestBlock largest(isAtLimits_ ? kLargestBlock : std::size_t{1} << 36);
    const Export next = drawFrom(everyExport());
    const bool needsSparse = !isAssignment(next);
    if (needsSparse && !model_.sparse) {
        return "";
    }
    ++calls_[nameOf(next)];
    return make(drawOperation(next, model_, true));
}

std::string EvolvingMatrix::make(const Operation& op)
{
    const unsigned limit = drawOneIn(8) ? drawMaximum(op) : kxGetMaxNumberOfElements();
    const long failing = drawOneIn(6) ? 1 + static_cast<long>(draw(8)) : -1;
    const std::size_t others = kxrt::live_blocks() - blocksOf(target_.get());
    Outcome expected;
    Made made;
    {
        Call call(op, std::move(target_));
        const MaxElements limited(limit);
        expected = predict(op);
        if (expected.ended.completed() && expected.result.n > kLargestBlock / sizeof(unsigned)) {
            expected = {Failure(kOutOfMemoryError), {}};
        }
        made = makeAndCheck(call, op, expected, failing);
        target_ = call.takeTarget();
    }
    if (made.complaint.empty() && made.ended.completed() && !isReference(op.callee)) {
        model_ = expected.result;
        model_.nzmax = target_->nzmax;
    }
    if (kxrt::live_blocks() != others + blocksOf(target_.get())) {
        made.complaint += "\n  leaks";
    }
    if (made.complaint.empty()) {
        return "";
    }
    std::ostringstream text;
    text << op << "\n  at most " << limit << " elements, allocation " << failing << " failing" << made.complaint;
    return text.str();
}

} // namespace zqsp::test
