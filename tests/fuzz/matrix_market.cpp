// Any bytes as a Matrix Market file: they give a sound array or an error that names the line, and nothing leaks.
#include "matrix_market.hpp"

#include "error.hpp"
#include "target.hpp"

#include <string_view>

using namespace zqsp::test;

namespace {

/// Everything that goes wrong must be told in the reader's words.
void parse(std::string_view text)
{
    std::string complaint;
    const auto read = [&] {
        const kxsh::Value array = kxsh::parseMatrixMarket("fuzzed", std::string(text));
        complaint = array.isSparse() ? kxCheckSparse(array.get()) : "";
    };
    kxsh::reportingErrors(read, [&](const kxsh::ErrorReport& report) {
        const bool told = report.identifier == "kxsh:matrixMarket" && report.text.starts_with("fuzzed:");
        complaint = told ? "" : report.text + " (" + report.identifier + ")";
    });
    expectNone(complaint);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzLimits limits;
    const LeakCheck leaks;
    parse({reinterpret_cast<const char*>(data), size});
    expectNone(leaks.complaint());
    return 0;
}
