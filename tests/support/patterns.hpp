// Matrices that look the same each time, for tables of cases.
#ifndef ZQSP_TESTS_SUPPORT_PATTERNS_HPP
#define ZQSP_TESTS_SUPPORT_PATTERNS_HPP

#include "support/model.hpp"

namespace zqsp::test {

/// m-by-n with two elements in three stored, all different as far as the class allows, and room for three more.
/// With explicit zeros, one element in seven is stored as zero.
inline Model patterned(Storage storage, unsigned m, unsigned n, bool explicitZeros = true)
{
    Model a = Model::empty(storage, m, n);
    for (unsigned p = 0; p < a.numel(); ++p) {
        const double value = storage.classId == kxLOGICAL_CLASS ? 1 : p + 1;
        if (p % 3 != 1) {
            a.entries[a.place(p)] = {value, storage.complex && p % 2 == 0 ? value + 20 : 0};
        }
        if (explicitZeros && p % 7 == 5) {
            a.entries[a.place(p)] = 0;
        }
    }
    a.nzmax = a.nnz() + 3;
    return a;
}

/// m-by-n with ones at these places.
inline Model withOnes(Storage storage, unsigned m, unsigned n, const std::vector<Place>& places)
{
    Model a = Model::empty(storage, m, n);
    for (const Place place : places) {
        a.entries[place] = 1;
    }
    return a.fit();
}

} // namespace zqsp::test

#endif
