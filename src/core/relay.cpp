#include "core/relay.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

namespace zqsp {

namespace {

/// Exchanges the block of an array with the owned one.
template <typename T, typename Setter>
void exchange(Block<T>& owned, void* installed, Setter install)
{
    T* fresh = owned.release();
    owned = Block<T>(installed);
    install(fresh);
}

void updateColumnStarts(const Columns& after, Patches patches)
{
    if (patches.empty()) {
        return;
    }
    const unsigned first = patches.front().column;
    const unsigned last = patches.back().column;
    // Where few columns lie between two patches, or none, no branch foresees how many.
    constexpr unsigned kFew = 8;
    if ((last - first) / kFew < patches.size() && patches.size() / kFew < last - first) {
        unsigned* const ends = after.jc + 1;
        const unsigned end = ends[last];
        for (unsigned j = last; j > first; --j) {
            ends[j] -= ends[j - 1];
        }
        for (const Patch& patch : patches) {
            ends[patch.column] += patch.growth();
        }
        std::partial_sum(ends + first, ends + last + 1, ends + first);
        shiftStarts(ends + last + 1, ends + after.n, ends[last] - end);
        return;
    }
    unsigned shift = 0;
    for (std::size_t i = 0; i < patches.size(); ++i) {
        shift += patches[i].growth();
        const unsigned next = i + 1 < patches.size() ? patches[i + 1].column : after.n;
        if (shift != 0) {
            shiftStarts(after.jc + patches[i].column + 1, after.jc + next + 1, shift);
        }
    }
}

} // namespace

void raiseCapacity(kxArray* target, unsigned capacity)
{
    const Columns a(target);
    auto ir = Block<unsigned>(kxMalloc(kxCheckMN(capacity, sizeof(unsigned), 1)));
    const unsigned bytes = kxCheckMN(capacity, a.elementSize, 1);
    auto pi = a.pi != nullptr ? Block<std::byte>(kxMalloc(bytes)) : Block<std::byte>();
    kxSetData(target, kxReallocExCheck(a.pr, bytes)); // the last thing that can fail
    std::copy_n(a.ir, a.nnz(), ir.get());
    exchange(ir, a.ir, [=](unsigned* rows) { kxSetIr(target, rows); });
    if (pi) {
        std::memcpy(pi.get(), a.pi, a.nnz() * std::size_t{a.elementSize});
        exchange(pi, a.pi, [=](std::byte* values) { kxSetImagData(target, values); });
    }
    target->nzmax = capacity;
}

Relay::Relay(kxArray* target, const Needs& needs)
    : target_(target),
      before_(target),
      entries_(before_.nnz()),
      needs_(needs),
      inPlace_(!needs.freshBlocks && needs.capacity == before_.nzmax)
{
    const unsigned elementSize = before_.elementSize;
    if (!inPlace_) {
        needs_.capacity = std::max(needs.capacity, 1U);
        ir_ = Block<unsigned>(kxMalloc(kxCheckMN(needs_.capacity, sizeof(unsigned), 1)));
        const unsigned bytes = kxCheckMN(needs_.capacity, elementSize, 1);
        pr_ = Block<std::byte>(kxMalloc(bytes));
        if (before_.pi != nullptr) {
            pi_ = Block<std::byte>(kxMalloc(bytes));
        }
    }
    if (needs.imaginaryPart && before_.pi == nullptr) { // zero to its end
        pi_ = Block<std::byte>(kxCalloc(needs_.capacity, elementSize));
    }
    if (needs.columns > before_.n) {
        jc_ = Block<unsigned>(kxMalloc((std::size_t{needs.columns} + 1) * sizeof(unsigned)));
    }
}

Columns Relay::after() const
{
    Columns view = before_;
    if (!inPlace_) {
        view.ir = ir_.get();
        view.pr = pr_.get();
        view.nzmax = needs_.capacity;
    }
    if (pi_) {
        view.pi = pi_.get();
    }
    return view;
}

void Relay::installBlocks()
{
    if (jc_) {
        std::copy_n(before_.jc, std::size_t{before_.n} + 1, jc_.get());
        std::fill(jc_.get() + before_.n + 1, jc_.get() + needs_.columns + 1, entries_);
        exchange(jc_, target_->jc, [this](unsigned* jc) { kxSetJc(target_, jc); });
        kxSetN(target_, needs_.columns);
    }
    if (!inPlace_) {
        exchange(ir_, target_->ir, [this](unsigned* ir) { kxSetIr(target_, ir); });
        exchange(pr_, target_->pr, [this](std::byte* pr) { kxSetData(target_, pr); });
        target_->nzmax = needs_.capacity;
    }
    if (pi_) {
        exchange(pi_, target_->pi, [this](std::byte* pi) { kxSetImagData(target_, pi); });
    }
}

void Relay::commitBy(Patches patches, Writer write)
{
    if (inPlace_) {
        moveInPlace(patches, write);
    } else {
        copyAll(patches, write);
    }
    installBlocks();
    updateColumnStarts(Columns(target_), patches);
}

void Relay::moveInPlace(Patches patches, Writer write) const
{
    unsigned shift = 0;
    for (std::size_t i = 0; i < patches.size(); ++i) {
        shift += patches[i].growth();
        if (const unsigned from = patches[i].end; from + shift < from) {
            moveDown(before_, from + shift, from, stretchEnd(patches, i) - from);
        }
    }
    for (std::size_t i = patches.size(); i-- > 0;) {
        if (const unsigned from = patches[i].end; from + shift > from) {
            moveUp(before_, from + shift, from, stretchEnd(patches, i) - from);
        }
        shift -= patches[i].growth();
    }
    for (const Patch& patch : patches) {
        if (patch.length > 0) {
            write(patch, patch.begin + shift);
        }
        shift += patch.growth();
    }
}

void Relay::copyAll(Patches patches, Writer write) const
{
    const Columns to = after();
    unsigned shift = 0;
    unsigned from = 0;
    for (const Patch& patch : patches) {
        if (patch.begin > from) {
            appendEntries(to, from + shift, before_, from, patch.begin - from);
        }
        if (patch.length > 0) {
            write(patch, patch.begin + shift);
        }
        shift += patch.growth();
        from = patch.end;
    }
    copyEntries(to, from + shift, before_, from, entries_ - from);
}

} // namespace zqsp
