// A statement that fails says so, and leaves every variable as it was.
#include "test_shell.hpp"

#include "interrupt.hpp"
#include "variables.hpp"

#include <gtest/gtest.h>

namespace kxsh::test {
namespace {

using zqsp::test::LeakCheck;

constexpr std::string_view kSetUp = R"(
    A = sparse([1 2 5 3 4], [1 1 2 4 5], [1 2 3 4 5], 5, 5);
    L = A > 2;
    Z = sparse([1 3], [2 3], [1+2i 3], 3, 3);
    F = [1 2; 3 4];
    c = sparse([2 4], [1 1], [7 8], 6, 1);
    x = 7;
    W = sparse(100000, 100000);
)";

using Texts = std::vector<std::string>;

const std::string kNotPositive = "kx:subscript:notPositiveInteger";
const std::string kOutOfRange = "kx:subscript:outOfRange";
const std::string kGroup = "ZENTAR:legacy_two_part:";

/// Statements, by the identifier of the error that each ends with.
void expectFailing(const std::vector<std::pair<std::string, Texts>>& cases)
{
    TestShell shell;
    shell(kSetUp);
    ASSERT_EQ(shell.errors(), "");
    const LeakCheck leaks;
    for (const auto& [identifier, statements] : cases) {
        for (const std::string& statement : statements) {
            const Variables before(shell.session());
            shell(statement);
            EXPECT_EQ(shell.outcome(), Runner::Outcome::kFailed) << statement;
            EXPECT_EQ(shell.identifier(), identifier) << statement << '\n' << shell.errors();
            EXPECT_NE(shell.errors().find(": " + statement + '\n'), std::string::npos) << shell.errors();
            EXPECT_EQ(before.changes(), "") << statement;
            EXPECT_EQ(leaks.complaint(), "") << statement;
        }
    }
}

TEST(FailingStatements, SubscriptsAndRightHandSides)
{
    const std::string removed = kGroup + "index_to_remove_exceeds_matrix_dimensions";
    std::vector<std::pair<std::string, Texts>> cases = {
        {kNotPositive, {"F(1.5)", "F(0) = 1", "A(1 / 0 - 1 / 0, 1) = 3", "A(sparse(2, 2), 1)"}},
        {kOutOfRange, {"A(sparse(true(26, 1)))"}},
        {kGroup + "indexed_matrix_cannot_be_resized", {"A(26) = 1"}},
        {kGroup + "pmaxsize", {"A(1e300)", "W(:) = 1", "W(5, 2e9) = 1"}},
        {"kxsh:subscript", {"A(1, 2, 3)", "A(1, 2, 3) = 4", "A() = 4"}},
        {"ZENTAR:sparse:tooLargeForLinearIndex", {"W(:)"}},
        {kGroup + "index_assign_element_count_mismatch", {"A([1 2 3]) = [1 2]"}},
        {kGroup + "colon_index_assign_element_count_mismatch", {"A(:) = [1 2]"}},
        {kGroup + "subsassigndimmismatch",
         {"A(1:2, 1:2) = [1 2 3]", "A(:, 1:2) = A", "F(1, 1:3) = [1 2]"}}, // once the target is shared
        {kGroup + "disallowed_indexed_empty_matrix_assignment", {"A(1, 2) = []"}},
        {"kx:invalidOperand", {"L(1) = 0 / 0"}},
        {kGroup + "indexed_matrix_cannot_be_resized_to_row_vector", {"W(5) = []"}},
        {"kxsh:undefined", {"A(:) = nothing", "unknown(2) = []"}},
    };
    for (const std::string& place : Texts{"(%)", "(%, :)", "(:, %)"}) {
        const auto at = [&place](const std::string& subscript) {
            return "A" + std::string(place).replace(place.find('%'), 1, subscript);
        };
        cases.push_back({kNotPositive, {at("[1 0]"), at("2i") + " = 3", at("int8(0)") + " = []"}});
        cases.push_back({kOutOfRange, {at("uint32(26)")}});
        cases.push_back({removed, {at("20:27") + " = []"}});
    }
    expectFailing(cases);
}

/// Chains of operators within brackets, `levels` deep: no level is too long by itself.
std::string chained(int levels)
{
    std::string text = "1";
    for (int level = 0; level < levels; ++level) {
        text = '(' + text + ')';
        for (int link = 0; link < 1000; ++link) {
            text += level == 0 ? "'" : level == 1 ? "*1" : "+1";
        }
    }
    return text;
}

TEST(FailingStatements, ExpressionsAndArguments)
{
    expectFailing({
        {"kxsh:undefined", {"y = spyeye(3)", "clear nothing", "help nothing"}},
        {"kxsh:operand",
         {"y = F * A", "y = A \\ F", "y = F ^ 2", "[y, z] = x", "y = F + [1 2 3]", "y = F & [1 2 3]", "y = F / F",
          "y = A / 0", "y = [F; 1 2 3]", "y = [F [1 2 3]]"}},
        {"kxsh:singular", {"y = sparse(3, 3) \\ [1; 2; 3]", "y = sparse([1 -1 0; -1 2 -1; 0 -1 1]) \\ [1; 2; 3]"}},
        {"kxsh:arguments",
         {"[y, z] = nnz(A)", "printf('%q', 1)", "printf('%999999999d', 1)", "y = zeros(-1)", "y = zeros(2.5)",
          "y = sprand(3, 3, 2)", "y = sparse([1 2], [1 2 3], 1)", "y = speye()", "y = size(:)", "y = mmread(5)",
          "spy(A, 'picture.gif')", "y = 1:[1 2]"}},
        {"kxsh:subscript", {"[y, A(1, 2, 3)] = size(A)"}},
        {"kx:sizeLimit", {"y = 1:1e308", "y = sparse(3e9, 1)", "y = W == 0", "y = zeros(1e6, 1e6)", "y = full(W)"}},
        {"kxsh:noValue", {"y = vars", "y = 1 + clear"}},
        {kOutOfRange, {"y = sparse(4, 1, 1, 3, 3)"}},
        {kNotPositive, {"y = sparse(0, 1, 1)"}},
        {"kxsh:reshape", {"y = reshape(A, 3, 3)"}},
        {"kxsh:file", {"y = mmread('no/such.mtx')", "mmwrite('/no/such/folder.mtx', A)"}},
        {"kx:invalidOperand", {"y = logical(0 / 0)"}},
        {"kxsh:syntax",
         {"break", "if x, y = 1", "y = 1; end", "y = end", "y = [1 2", "y = (1 + 2]", "y = 3 $ 4", "y = 'open",
          "y = 12abc", "3 = y", "y =", "x = 1 2", "y = " + std::string(1000, '(') + '1' + std::string(1000, ')'),
          "y = " + std::string(100000, '-') + '1', "y = " + chained(3)}},
    });
}

TEST(FailingStatements, ErrorsNameWhatIsWrong)
{
    TestShell shell;
    const std::pair<std::string, std::string> cases[] = {
        {"A = speye(5); A(:, [2 9])", "error: a subscript lies outside the matrix: column 9 of A, which is 5-by-5 "
                                      "(kx:subscript:outOfRange)\n  at line 1, column 15: A(:, [2 9])\n"},
        {"A = speye(5);\n\n  # nothing\n  B = 1; A(1:2) = [1 2 3]; B = 2;", "A is 5-by-5"},
        {"\nB = 1; A(1:2) = [1 2 3]; B = 2;", "  at line 2, column 8: A(1:2) = [1 2 3]\n"},
        {"for k = 1:2\n  x = 1 +A(:, 9);\nend", "  at line 2, column 10: x = 1 +A(:, 9)\n"},
        {"A(:, 1) = 1:3", "A is 5-by-5, the value 1-by-3 for 5-by-1 places"},
        {"A(:) = 1:3", "error: A(:) = B needs"},
        {"A(Inf)", ": index Inf of A"},
        {"A(NaN, 1)", ": row NaN of A"},
        {"ones(3, 4) * ones(3, 4)", "'*' cannot multiply 3-by-4 by 3-by-4: 4 columns, but 3 rows"},
        {"numel(1:1e308)", "the range 1:1e+308 is longer than the limit of 2147483647"},
        {"A(0, 9) = 1", ": row 0 of A, which is 5-by-5"},
        {"sprnd(3, 3, 0.5)", "did you mean 'sprand'?"},
        {"help szie", "did you mean 'size'?"},
        {"measurements = 1; 2 * measurement", "did you mean 'measurements'?"},
        {"x = 1;\ny = [1 2\n3 4;\nz = 5\n", "'[' is never closed (kxsh:syntax)\n  at line 2, column 5: y = [1 2\n"}};
    for (const auto& [statements, told] : cases) {
        shell(statements);
        EXPECT_NE(shell.errors().find(told), std::string::npos) << shell.errors();
    }
    EXPECT_FALSE(shell.session().variables.contains("x")) << "a text with a syntax error is not begun";
    EXPECT_EQ(shell("B"), "B = 1\n") << "what follows an error is not done";
    shell("quux");
    EXPECT_EQ(shell.errors().find("did you mean"), std::string::npos) << shell.errors();
}

/// Each allocation of the runtime fails once.
TEST(FailingStatements, ExhaustedMemory)
{
    for (const std::string& statement : Texts{"A(8, 9) = 1",
                                              "A(A > 1) = 2",
                                              "A(:, [1 3]) = []",
                                              "A(:) = 1:25",
                                              "Z(2, :) = 0",
                                              "F(3, 3) = 1",
                                              "F(1, :) = []",
                                              "fresh(3, 4) = 2",
                                              "L(4, :) = true",
                                              "x = full(A)",
                                              "A = reshape(A, 1, 25)",
                                              "Z = Z + Z",
                                              "y = [A; 1 2 3 4 5]",
                                              "y = sparse(1:3, 1:3, 2i)",
                                              "x(4) = 1",
                                              "F(:, 1) = [5; 6]",
                                              "[A(1, 1), y] = size(A)",
                                              "y = A * A",
                                              "y = A .* A > 1",
                                              "y = speye(3) \\ (1:3)'"}) {
        const LeakCheck leaks;
        bool failed = true;
        int faults = 0;
        for (; failed && faults < 1000; ++faults) {
            TestShell shell;
            shell(kSetUp);
            shell("A = 1 * A; A(5, 5) = 0; B = Z;"); // B shares the data of Z
            const Variables before(shell.session());
            kxrt::fail_allocation_after(faults + 1);
            shell(statement);
            kxrt::fail_allocation_after(-1);
            failed = shell.outcome() == Runner::Outcome::kFailed;
            if (failed) {
                EXPECT_EQ(shell.identifier(), "kx:outOfMemory") << statement << ", allocation " << faults + 1;
                EXPECT_EQ(before.changes(), "") << statement << ", allocation " << faults + 1;
            }
        }
        EXPECT_FALSE(failed) << statement;
        EXPECT_GT(faults, 1) << statement;
        EXPECT_EQ(leaks.complaint(), "") << statement;
    }
}

/// Ctrl-C at any moment stops the statement and nothing else.
TEST(FailingStatements, Interrupted)
{
    TestShell shell;
    shell("A = speye(5);");
    const Variables before(shell.session());
    for (const std::string& statement : Texts{"A(2, :) = 1", "B = sprand(100, 100, 0.1)", "A == 0", "A"}) {
        interruptFlag = 1;
        shell(statement);
        clearInterrupt();
        EXPECT_EQ(shell.identifier(), "kxsh:interrupted") << statement;
        EXPECT_EQ(before.changes(), "") << statement;
    }
    EXPECT_EQ(shell("nnz(A)"), "ans = 5\n");
}

} // namespace
} // namespace kxsh::test
