#include "subscript/ranked.hpp"

namespace zqsp {

namespace {

template <typename Form>
void addTo(RankedSet& set, unsigned, const Form& form)
{
    form.forEach([&set](unsigned number) { set.add(number); });
}

void addTo(RankedSet& set, unsigned extent, const LogicalMask& mask)
{
    const unsigned length = std::min(mask.length, extent); // a mask may be longer, with nothing true out there
    for (unsigned i = 0; i < length; i += std::min(kMaskBlock, length - i)) {
        set.addAll(i, trueBlock(mask.values + i, length - i));
    }
}

RankedSet unrankedOf(const Subscript& subscript, unsigned extent)
{
    RankedSet set(extent);
    std::visit([&](const auto& form) { addTo(set, extent, form); }, subscript);
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
