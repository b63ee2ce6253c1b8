#include "subscript/ranked.hpp"

namespace zqsp {

namespace {

template <typename Form>
void addTo(RankedSet& set, const Form& form)
{
    form.forEach([&set](unsigned number) { set.add(number); });
}

void addTo(RankedSet& set, const LogicalMask& mask)
{
    for (unsigned i = 0; i < mask.length; i += std::min(kMaskBlock, mask.length - i)) {
        set.addAll(i, trueBlock(mask.values + i, mask.length - i));
    }
}

RankedSet unrankedOf(const Subscript& subscript, unsigned extent)
{
    RankedSet set(extent);
    std::visit([&set](const auto& form) { addTo(set, form); }, subscript);
    return set;
}

} // namespace

RankedSet selectedOf(const Subscript& subscript, unsigned extent)
{
    RankedSet set = unrankedOf(subscript, extent);
    set.rank();
    return set;
}

RankedSet othersThan(const Subscript& subscript, unsigned extent)
{
    RankedSet set = unrankedOf(subscript, extent);
    set.rankOthers();
    return set;
}

} // namespace zqsp
