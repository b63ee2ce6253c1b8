// Long random sequences of reference, assignment, deletion and reshape on one evolving matrix, each step checked
// against the model. Runs for ZQSP_SEQUENCE_SECONDS (default 20) from the seed ZQSP_SEQUENCE_SEED (default 1); a
// failure is shrunk to a small sequence and printed.
#include "support/call.hpp"
#include "support/draw.hpp"
#include "system/any_operation.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>

using namespace zqsp::test;

namespace {

std::uint64_t setting(const char* name, std::uint64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

/// One step on the standing target: the call, the comparison, and the model moved on. "" or what is wrong.
std::string step(const Operation& op, Array& target, Model& model)
{
    const Outcome expected = predict(op);
    std::ostringstream complaint;
    const std::size_t before = kxrt::live_blocks();
    {
        Call call(op, std::move(target));
        const Snapshot untouched(call.target());
        kxArray* out = nullptr;
        const Ended ended = run([&] { return call.make(&out); });
        const Array result(isReference(op.callee) ? out : nullptr);
        if (!(ended == expected.ended)) {
            complaint << "ended with " << ended << ", expected " << expected.ended;
        } else if ((!ended.completed() || isReference(op.callee)) && !untouched.changes().empty()) {
            complaint << "changed " << untouched.changes();
        } else if (ended.completed()) {
            const kxArray* made = isReference(op.callee) ? result.get() : call.target();
            complaint << diff(made, expected.result);
            if (!isReference(op.callee)) {
                model = expected.result;
                model.nzmax = made->nzmax;
            }
        }
        target = call.takeTarget();
    }
    if (isReference(op.callee) && kxrt::live_blocks() != before) {
        complaint << " leaks";
    }
    return complaint.str();
}

/// The target becomes something else now and then, lest it shrinks to nothing for good.
void renewIfSpent(Array& target, Model& model)
{
    const bool isFull = !model.sparse && !model.isEmpty(); // what a target without a class may have been given
    if (isFull || model.nnz() == 0 || model.numel() > 4000 || drawOneIn(25)) {
        model = drawOneIn(15) ? Model::unset() : *models();
        target = toArray(model);
    }
}

} // namespace

TEST(Sequence, EveryExportOnOneEvolvingMatrix)
{
    constexpr unsigned kSteps = 40;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(setting("ZQSP_SEQUENCE_SECONDS", 20));
    std::uint64_t seed = setting("ZQSP_SEQUENCE_SEED", 1);
    std::map<std::string, unsigned long> calls;
    const std::size_t blocks = kxrt::live_blocks();
    while (std::chrono::steady_clock::now() < deadline) {
        rc::detail::TestParams params;
        params.seed = seed++;
        params.maxSuccess = 20;
        const auto result = rc::detail::checkTestable(
            [&] {
                Model model = *models();
                Array target = toArray(model);
                for (unsigned i = 0; i < kSteps; ++i) {
                    renewIfSpent(target, model);
                    const NamedExport& next = drawFrom(everyExport());
                    const bool needsSparse = next.callee < Export::Ass3 || next.callee > Export::Ass6;
                    if (needsSparse && !model.sparse) {
                        continue;
                    }
                    const Operation op = drawOperation(next.callee, model, true);
                    ++calls[next.name];
                    const std::string complaint = step(op, target, model);
                    if (!complaint.empty()) {
                        std::ostringstream text;
                        text << op << "\n" << complaint;
                        RC_FAIL(text.str());
                    }
                }
            },
            rc::detail::TestMetadata{}, params);
        if (!result.is<rc::detail::SuccessResult>()) {
            std::ostringstream text;
            rc::detail::printResultMessage(result, text);
            FAIL() << text.str() << "\nZQSP_SEQUENCE_SEED=" << params.seed;
        }
    }
    EXPECT_EQ(blocks, kxrt::live_blocks());
    for (const auto& [name, count] : calls) {
        std::cout << name << ": " << count << " calls\n";
    }
    EXPECT_EQ(everyExport().size(), calls.size()) << "an export was never called";
}
