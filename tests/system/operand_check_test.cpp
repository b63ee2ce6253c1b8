// Where the runtime checks operands, every export refuses a broken sparse array, whichever operand it is.
#include "support/operation.hpp"
#include "system/any_operation.hpp"

using namespace zqsp::test;

namespace {

class OperandCheck : public testing::TestWithParam<Export>
{
  protected:
    OperandCheck() : before_(kxrt::check_operands(true)) {}
    ~OperandCheck() override { kxrt::check_operands(before_); }

    /// The text of the error that the call raises.
    static std::string refusalOf(const Call& call)
    {
        kxArray* out = nullptr;
        try {
            call.make(&out);
        } catch (const kxrt::Error& error) {
            EXPECT_EQ(error.identifier(), "kx:invalidOperand");
            return error.what();
        }
        return "none";
    }

  private:
    bool before_;
};

} // namespace

TEST_P(OperandCheck, IsMadeAtEveryDoor)
{
    const Export callee = GetParam();
    const Subscript one = Subscript::sparseList({1});
    const bool byRanges = callee == Export::ReferenceByRanges;
    const Subscript bare = byRanges ? Subscript::range(1, 1, 1) : Subscript::list({1});
    const bool takesArrays = callee != Export::ReferenceByLists && !byRanges;
    const Model a = patterned(kReal, 2, 2);
    const Operation op{.callee = callee,
                       .a = a,
                       .b = RightSide::of(Model::of(kReal, {{5}})),
                       .i = takesArrays ? one : bare,
                       .j = takesArrays ? one : bare,
                       .newM = 1,
                       .newN = 4};
    for (std::size_t broken = 0;; ++broken) {
        const Call call(op);
        const std::vector<const kxArray*> operands = call.unchanging(false);
        std::vector<const kxArray*> sparse;
        std::copy_if(operands.begin(), operands.end(), std::back_inserter(sparse), isSparse);
        if (broken == sparse.size()) {
            EXPECT_GT(broken, 0U);
            break;
        }
        sparse[broken]->jc[0] = 1;
        EXPECT_EQ(refusalOf(call), "A broken operand: column 1 starts at entry 1 instead of 0.");
        sparse[broken]->jc[0] = 0;
    }
}

INSTANTIATE_TEST_SUITE_P(Exports, OperandCheck, testing::ValuesIn(everyExport()),
                         [](const auto& tested) { return nameOf(tested.param); });
