#include "subscript/row_sets.hpp"

#include "kernels/branch_free.hpp"

namespace zqsp {

namespace {

/// What ascends or descends is gathered in a register, and each word written anew with each number: no number waits for
/// the one before to be read back, and no branch asks whether the word is another. The set is still empty.
template <typename Form>
void addTo(RowSet& set, unsigned, const Form& form)
{
    if (form.order() == Order::kUnsorted) {
        form.forEach([&set](unsigned number) { set.add(number); });
        return;
    }
    unsigned word = 0;
    std::uint32_t members = 0;
    form.forEach([&](unsigned number) {
        const unsigned own = number / RowWord::kBits;
        members = valueIf(own == word, members) | 1U << number % RowWord::kBits;
        word = own;
        set.setWord(word, members);
    });
}

/// A range takes no longer than the set has words: one with short strides comes by blocks.
void addTo(RowSet& set, unsigned, const IndexRange& range)
{
    const IndexRange numbers = range.ascending();
    const auto stride = static_cast<unsigned>(numbers.stride);
    if (stride == 0 || stride >= kMaskBlock) {
        numbers.forEach([&set](unsigned number) { set.add(number); });
        return;
    }
    std::uint64_t every = 0;
    for (unsigned i = 0; i < kMaskBlock; i += stride) {
        every |= std::uint64_t{1} << i;
    }
    const unsigned inFirst = numbers.first % kMaskBlock;
    const unsigned step = stride - kMaskBlock % stride;
    unsigned at = inFirst % stride; // the first one, were there others before the range
    std::uint64_t known = ~std::uint64_t{0} << inFirst;
    for (std::uint64_t block = numbers.first - inFirst; block <= numbers.last; block += kMaskBlock) {
        const std::uint64_t left = numbers.last - block;
        known &= left < kMaskBlock - 1 ? (std::uint64_t{2} << left) - 1 : ~std::uint64_t{0};
        set.addAll(static_cast<unsigned>(block), every << at & known);
        known = ~std::uint64_t{0};
        at = (at + step) % stride;
    }
}

void addTo(RowSet& set, unsigned extent, const LogicalMask& mask)
{
    const unsigned length = std::min(mask.length, extent); // a mask may be longer, with nothing true out there
    for (unsigned i = 0; i < length; i += std::min(kMaskBlock, length - i)) {
        set.addAll(i, trueBlock(mask.values + i, length - i));
    }
}

void addAll(RowSet& set, const Subscript& subscript, unsigned extent)
{
    std::visit([&](const auto& form) { addTo(set, extent, form); }, subscript);
}

} // namespace

RowSet selectedOf(const Subscript& subscript, unsigned extent)
{
    RowSet set(extent);
    addAll(set, subscript, extent);
    set.rank();
    return set;
}

RowSet othersThan(const Subscript& subscript, unsigned extent)
{
    RowSet set(extent);
    addAll(set, subscript, extent);
    set.rankOthers();
    return set;
}

std::optional<RowSet> othersOrNone(const Subscript& subscript, unsigned extent)
{
    std::optional<RowSet> set = RowSet::emptyOrNone(extent);
    if (set) {
        addAll(*set, subscript, extent);
        set->rankOthers();
    }
    return set;
}

} // namespace zqsp
