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

RankedSet with(const Subscript& subscript, unsigned extent, RankedSet set)
{
    std::visit([&](const auto& form) { addTo(set, extent, form); }, subscript);
    return set;
}

} // namespace

RankedSet selectedOf(const Subscript& subscript, unsigned extent)
{
    RankedSet set = with(subscript, extent, RankedSet(extent));
    set.rank();
    return set;
}

RankedSet othersThan(const Subscript& subscript, unsigned extent)
{
    RankedSet set = with(subscript, extent, RankedSet(extent));
    set.rankOthers();
    return set;
}

std::optional<RankedSet> unrankedOrNone(const Subscript& subscript, unsigned extent)
{
    std::optional<RankedSet> set = RankedSet::emptyOrNone(extent);
    return set ? std::optional(with(subscript, extent, *std::move(set))) : std::nullopt;
}

} // namespace zqsp
