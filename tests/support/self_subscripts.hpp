// Matrices for calls in which the target is its own subscript: A(A) = [].
#ifndef ZQSP_TESTS_SUPPORT_SELF_SUBSCRIPTS_HPP
#define ZQSP_TESTS_SUPPORT_SELF_SUBSCRIPTS_HPP

#include "support/draw.hpp"
#include "support/generators.hpp"

#include <algorithm>

namespace zqsp::test {

/// A small matrix that is a good subscript of itself more often than not: a mask, or full of small numbers. To be
/// called while a generator runs.
inline Model drawSelfSubscript(bool explicitZeros)
{
    const Storage storage = drawOneIn(3) ? Storage{kxLOGICAL_CLASS, false} : drawStorage();
    const unsigned m = drawOneIn(3) ? 1 : draw(5);
    const unsigned n = drawOneIn(3) ? 1 : draw(5);
    Model a = drawModelOfSize(storage, m, n, explicitZeros);
    if (storage.classId != kxLOGICAL_CLASS && !drawOneIn(3)) {
        const unsigned highest = drawOneIn(2) ? std::min(m, n) : m * n;
        for (unsigned p = 0; p < m * n; ++p) {
            a.entries[a.place(p)] = 1.0 + draw(highest);
        }
        a.storage.complex = false;
    }
    return a.fit();
}

} // namespace zqsp::test

#endif
