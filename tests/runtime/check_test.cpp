// kxCheckSparse names the first promise that a sparse array breaks.
#include "arrays.hpp"

#include <functional>
#include <utility>

namespace zqsp::test::runtime {
namespace {

using CheckTest = RuntimeTest;

/// 4-by-3 with the entries (1,1), (3,1), (2,3) and room for one more.
Array sound(Storage storage = kReal)
{
    return toArray(withCapacity(Model::of(storage, {{1, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 0, 0}}), 4));
}

TEST_F(CheckTest, NamesTheFirstViolation)
{
    const struct
    {
        std::function<void(kxArray*)> breakIt;
        const char* violation;
    } cases[] = {
        {[](kxArray*) {}, ""},
        {[](kxArray* a) { kxrt::hide_class(a); }, ""},
        {[](kxArray* a) { a->flags = kxFLAG_MAY_BE_COMPLEX; }, "the array is not sparse"},
        {[](kxArray* a) { a->class_id = static_cast<kxClassID>(5); }, "class 5 holds no elements"},
        {[](kxArray* a) { a->class_id = kxLOGICAL_CLASS; }, "class 3 flagged as one that may be complex"},
        {[](kxArray* a) { a->ndims = 3; }, "a sparse array of 3 dimensions"},
        {[](kxArray* a) { kxFree(std::exchange(a->jc, nullptr)); }, "no column starts"},
        {[](kxArray* a) { kxFree(std::exchange(a->ir, nullptr)); }, "no rows"},
        {[](kxArray* a) { kxFree(std::exchange(a->pr, nullptr)); }, "no values"},
        {[](kxArray* a) { a->jc[0] = 1; }, "column 1 starts at entry 1 instead of 0"},
        {[](kxArray* a) { a->jc[2] = 1; }, "column 2 ends before it starts (1 < 2)"},
        {[](kxArray* a) { a->jc[3] = 5; }, "5 stored entries exceed the capacity 4"},
        {[](kxArray* a) { a->ir[2] = 4; }, "entry 2 of column 3 lies in row 5 of 4"},
        {[](kxArray* a) { a->ir[1] = 0; }, "entry 1 of column 1 lies in row 1, not behind row 1"},
        {[](kxArray* a) { kxSetM(a, 2); }, "entry 1 of column 1 lies in row 3 of 2"},
    };
    for (const auto& [breakIt, violation] : cases) {
        const Array array = sound();
        breakIt(array.get());
        EXPECT_EQ(kxCheckSparse(array.get()), violation);
        array->ndims = 2;
    }
    EXPECT_EQ(kxCheckSparse(sound(kLogical).get()), "");
    EXPECT_EQ(kxCheckSparse(sound({kxINT16_CLASS, true}).get()), "");
    const Array empty = toArray(Model::empty(kReal, 0, 0));
    EXPECT_EQ(kxCheckSparse(empty.get()), "");
    for (unsigned** block : {&empty->ir, reinterpret_cast<unsigned**>(&empty->pr)}) {
        kxFree(std::exchange(*block, nullptr)); // without a capacity there need be none
        EXPECT_EQ(kxCheckSparse(empty.get()), "");
    }
}

} // namespace
} // namespace zqsp::test::runtime
