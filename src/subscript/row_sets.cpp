#include "subscript/row_sets.hpp"

namespace zqsp {

namespace {

template <typename Form>
void addTo(RowSet& set, unsigned, const Form& form)
{
    form.forEach([&set](unsigned number) { set.add(number); });
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
