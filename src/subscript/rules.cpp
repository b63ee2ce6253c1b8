#include "subscript/rules.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zqsp {

ValueRules ValueRules::forNumbers(kxClassID id, const Extent& extent)
{
    const unsigned most = kxGetMaxNumberOfElements();
    ValueRules rules{.most = std::numeric_limits<unsigned>::max(),
                     .limit = extent.limit,
                     .outOfRange = extent.outOfRange,
                     .zero = spIndexNotPositiveInteger,
                     .belowOne = spIndexNotPositiveInteger};
    switch (id) {
    case kxDOUBLE_CLASS:
    case kxSINGLE_CLASS:
        rules.most = id == kxSINGLE_CLASS ? static_cast<double>(static_cast<float>(most)) : most;
        rules.zero = rules.belowOne = spIndexBelowOne;
        rules.extentFirst = extent.outOfRange == spIndexToRemoveOutOfRange;
        break;
    case kxUINT32_CLASS:
    case kxINT64_CLASS:
    case kxUINT64_CLASS:
        rules.most = most;
        break;
    default: // no value of the others is tested against the maximum
        break;
    }
    rules.limit = static_cast<unsigned>(std::min<double>(rules.limit, rules.most));
    return rules;
}

ValueRules ValueRules::forElements()
{
    const unsigned most = kxGetMaxNumberOfElements();
    return {.most = static_cast<double>(most),
            .limit = most,
            .outOfRange = spIndexOutOfRange,
            .zero = spIndexBelowOne,
            .belowOne = spIndexNotPositiveInteger,
            .mostRaises = true};
}

spStatus ValueRules::answerTo(double refused) const
{
    if (refused < 1) {
        return refused == 0 ? zero : belowOne;
    }
    if (std::isnan(refused) || std::isinf(refused)) {
        return spIndexNotPositiveInteger;
    }
    if (refused > most) {
        if (mostRaises) {
            kxCheckIndex(refused);
        }
        return spIndexExceedsMaxSize;
    }
    // The low word: 2^32, which singles reach under the highest of all maxima, is no whole number of a word.
    const auto word = static_cast<unsigned>(static_cast<std::int64_t>(refused));
    const bool isWhole = word == refused;
    const bool isOutside = word > limit || (word == limit && !isWhole);
    return isOutside && (isWhole || extentFirst) ? outOfRange : spIndexNotPositiveInteger;
}

} // namespace zqsp
