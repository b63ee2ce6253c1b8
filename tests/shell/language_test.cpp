// What statements mean, seen by what they print.
#include "functions.hpp"
#include "test_shell.hpp"

#include <gtest/gtest.h>

namespace kxsh::test {
namespace {

/// Statements, each with what it prints.
void expectPrinted(const std::vector<std::pair<std::string, std::string>>& cases)
{
    for (const auto& [statements, printed] : cases) {
        TestShell shell;
        EXPECT_EQ(shell(statements), printed) << statements;
        EXPECT_EQ(shell.errors(), "") << statements;
    }
}

TEST(Language, Numbers)
{
    expectPrinted({
        {"3", "ans = 3\n"},
        {"x = .5, y = 1e-3;", "x = 0.5\n"},
        {"1 + 2 * 3 - 4 / 8", "ans = 6.5\n"},
        {"-2 - -3", "ans = 1\n"},
        {"(1 + 2i) * (3 - 4i)", "ans = 11+2i\n"},
        {"2i * 2i", "ans = -4\n"},
        {"1 / 3", "ans = 0.3333333333\n"},
        {"123456789012 * 1000", "ans = 123456789012000\n"},
        {"int8(100) + 100", "ans = 127\n"},
        {"int32(7) / 2", "ans = 4\n"},
        {"class(single(1) + 1)", "ans = 'single'\n"},
        {"1 < 2 == 1", "ans = 1\n"},
        {"int64(9007199254740993) == int64(9007199254740993)", "ans = 1\n"},
    });
}

TEST(Language, BracketsTellSignsAndQuotesBySpaces)
{
    expectPrinted({
        {"[1 -2]", "ans = full double, 1-by-2\n   1  -2\n"},
        {"[1 - 2]", "ans = -1\n"},
        {"[1 , -2\n 3 4;]", "ans = full double, 2-by-2\n   1  -2\n   3   4\n"},
        {"a = [1 2]; [a' a']", "ans = full double, 2-by-2\n  1  1\n  2  2\n"},
        {"a = 5; [a 'x']", "ans = '\x05x'\n"},
        {"a = [7 8]; [a(2) (1)]", "ans = full double, 1-by-2\n  8  1\n"},
        {"s = 'it''s'", "s = 'it's'\n"},
        {"s = \"say 'so'\" # a comment", "s = 'say 'so''\n"},
        {"[1 2]'", "ans = full double, 2-by-1\n  1\n  2\n"},
        {"[[] 1:3 []]", "ans = full double, 1-by-3\n  1  2  3\n"},
        {"size([])", "ans = full double, 1-by-2\n  0  0\n"},
        {"max = (1 +\n 2)", "max = 3\n"},
    });
}

TEST(Language, RangesStayLazy)
{
    expectPrinted({
        {"5:-2:1", "ans = full double, 1-by-3\n  5  3  1\n"},
        {"3:1", "ans = full double, 1-by-0\n"},
        {"2 * (1:3) + 1", "ans = full double, 1-by-3\n  3  5  7\n"},
        {"10 - (1:3)", "ans = full double, 1-by-3\n  9  8  7\n"},
        {"0:0.5:1", "ans = full double, 1-by-3\n    0  0.5    1\n"},
        {"r = 1:2000000000; r = 3 * r; numel(r)", "ans = 2000000000\n"},
        {"A = sparse(20000000, 1); A(7) = 5; r = 20000000:-1:1; find(A(r))", "ans = 19999994\n"},
    });
}

TEST(Language, SubscriptsAndEnd)
{
    const std::string a = "A = sparse([1 2 3 3], [1 1 2 3], [1 2 3 4]); ";
    expectPrinted({
        {a + "A(end, end)", "ans = sparse double, 1-by-1, nnz 1\n  (1,1)  4\n"},
        {a + "A(end)", "ans = sparse double, 1-by-1, nnz 1\n  (1,1)  4\n"},
        {a + "full(A(2:end, 1:end-1))", "ans = full double, 2-by-2\n  2  0\n  0  3\n"},
        {a + "v = [3 1]; full(A(v(end), :))", "ans = full double, 1-by-3\n  1  0  0\n"},
        {a + "full(A(A > 1))'", "ans = full double, 1-by-3\n  2  3  4\n"},
        {a + "A(:)(3, 1)", "ans = sparse double, 1-by-1, nnz 0\n"},
        {a + "A()", "ans = sparse double, 3-by-3, nnz 4\n  (1,1)  1\n  (2,1)  2\n  (3,2)  3\n  (3,3)  4\n"},
        {a + "A(:, 2) = []; size(A)", "ans = full double, 1-by-2\n  3  2\n"},
        {a + "A([1 3], :) = []; full(A)", "ans = full double, 1-by-3\n  2  0  0\n"},
        {a + "A(A == 2) = 9; full(A(:, 1))'", "ans = full double, 1-by-3\n  1  9  0\n"},
        {a + "e = []; A([], 1) = e; nnz(A)", "ans = 4\n"},
        {"v = 1:5; v(2) = []", "v = full double, 1-by-4\n  1  3  4  5\n"},
        {"v = [1 2; 3 4]; v(3, 3) = 7", "v = full double, 3-by-3\n  1  2  0\n  3  4  0\n  0  0  7\n"},
        {"s = 'sparse'; s(end:-1:1)", "ans = 'esraps'\n"},
        {"N(2, 3) = 5", "N = sparse double, 2-by-3, nnz 1\n  (2,3)  5\n"},
        {"N(end + 1) = 4", "N = sparse double, 1-by-1, nnz 1\n  (1,1)  4\n"},
        {"i = int16([0 3]); i(1) = 700", "i = full int16, 1-by-2\n  700    3\n"},
    });
}

TEST(Language, VariablesShareNothingThatShows)
{
    TestShell shell;
    shell("A = sprand(50, 40, 0.2, 3); B = A; C = A; A(3, :) = 0; B(:, 1:39) = []; C(C > 0.5) = -1;");
    EXPECT_EQ(shell("isequal(A, C), size(B), isequal(sprand(50, 40, 0.2, 3)(:, 40), B)"),
              "ans = 0\nans = full double, 1-by-2\n  50   1\nans = 1\n");
    shell("A = speye(4) > 0; B = A; C = A; A(A) = false; B(B) = [];");
    EXPECT_EQ(shell("nnz(A), numel(B), nnz(C)"), "ans = 0\nans = 12\nans = 4\n");
}

TEST(Language, ComparisonsOfSparseArrays)
{
    const std::string setUp = "A = sparse([1 2], [1 2], [5 -5], 2, 2); B = sparse([1 1], [1 2], [5 1], 2, 2); ";
    expectPrinted({
        {setUp + "full(A == B)", "ans = full logical, 2-by-2\n  1  0\n  1  0\n"},
        {setUp + "full(A < 1)", "ans = full logical, 2-by-2\n  0  1\n  1  1\n"},
        {setUp + "full(A ~= B)", "ans = full logical, 2-by-2\n  0  1\n  0  1\n"},
        {setUp + "A >= 5", "ans = sparse logical, 2-by-2, nnz 1\n  (1,1)  1\n"},
        {setUp + "A == [5 0; 0 0]", "ans = full logical, 2-by-2\n  1  1\n  1  0\n"},
        {setUp + "full(A - B)", "ans = full double, 2-by-2\n   0  -1\n   0  -5\n"},
        {setUp + "A + (-1) * A", "ans = sparse double, 2-by-2, nnz 0\n"},
        {setUp + "full(2i * A)", "ans = full complex double, 2-by-2\n  0+10i   0+0i\n   0+0i  0-10i\n"},
    });
}

TEST(Language, FunctionsOfArrays)
{
    expectPrinted({
        {"sparse([1 1 2], [1 1 2], [2 3 -1])", "ans = sparse double, 2-by-2, nnz 2\n  (1,1)  5\n  (2,2)  -1\n"},
        {"nnz(sparse([1 1], [1 1], [2 -2], 3, 3))", "ans = 0\n"},
        {"class(sparse(1, 1, true))", "ans = 'logical'\n"},
        {"find(sparse([2 1], [1 3], 1, 2, 3))'", "ans = full double, 1-by-2\n  2  5\n"},
        {"find([0 1; 1 0])", "ans = full double, 2-by-1\n  2\n  3\n"},
        {"real(sparse(1, [1 2], [3+4i 5i]))", "ans = sparse double, 1-by-2, nnz 1\n  (1,1)  3\n"},
        {"imag(sparse(1, 1, 3+4i))", "ans = sparse double, 1-by-1, nnz 1\n  (1,1)  4\n"},
        {"real(complex([1 2], 5))", "ans = full double, 1-by-2\n  1  2\n"},
        {"nnz(complex(speye(3), sparse(3, 3)))", "ans = 3\n"},
        {"sum([1 2; 3 4]), sum([1 2; 3 4], 1)", "ans = 10\nans = full double, 1-by-2\n  4  6\n"},
        {"sum(sparse([1 2 2], [1 1 2], [1 2 3]), 2)'", "ans = full double, 1-by-2\n  1  5\n"},
        {"reshape(speye(2), 1, 4)", "ans = sparse double, 1-by-4, nnz 2\n  (1,1)  1\n  (1,4)  1\n"},
        {"isequal(sparse([1 0 2]), [1 0 2]), isequal(1:3, [1 2 3]'), isequal('ab', 'ab')",
         "ans = 1\nans = 0\nans = 1\n"},
        {"isequal(uint8([1 2]), [1 2]), isequal(uint64(1e30), 18446744073709551616)", "ans = 1\nans = 0\n"},
        {"[speye(2); 5 6]", "ans = sparse double, 3-by-2, nnz 4\n  (1,1)  1\n  (3,1)  5\n  (2,2)  1\n  (3,2)  6\n"},
        {"class([int8(1) 2.5]), class([true 2])", "ans = 'int8'\nans = 'double'\n"},
        {"print('n:', 3, speye(2))", "n: 3 sparse double, 2-by-2, nnz 2\n"},
        {"x = 1; help = 2; x = 3; vars", "  help  full double, 1-by-1\n  x     full double, 1-by-1\n"},
    });
}

TEST(Language, EveryFunctionHasHelpAndAnExampleThatRuns)
{
    const TestFolder folder;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    TestShell shell;
    shell("mmwrite('plate.mtx', speye(3))");
    for (const Topic& topic : topics()) {
        for (const Function& function : topic.functions) {
            const std::string name(function.name);
            EXPECT_NE(shell("help " + name).find(function.example), std::string::npos) << name;
            shell(function.example);
            EXPECT_EQ(shell.errors(), "") << name;
            EXPECT_NE(shell("help").find("  " + name), std::string::npos) << name;
        }
    }
    std::filesystem::current_path(before);
}

TEST(Language, LongAndWideResultsAreShortened)
{
    TestShell shell;
    const std::string entries = shell("speye(31)");
    EXPECT_NE(entries.find("\n  (10,10)  1\n  ... 11 more entries ...\n  (22,22)  1\n"), std::string::npos) << entries;
    EXPECT_EQ(shell("speye(30)").find("..."), std::string::npos);
    const std::string rows = shell("(1:31)'");
    EXPECT_NE(rows.find("\n  10\n  ... 11 more rows ...\n  22\n"), std::string::npos) << rows;
    const std::string columns = shell("1:1000");
    EXPECT_TRUE(columns.ends_with(" 12   ...   998   999  1000\n")) << columns;
    for (std::size_t at = 0, stop = 0; (stop = columns.find('\n', at)) != std::string::npos; at = stop + 1) {
        EXPECT_LE(stop - at, shell.session().width);
    }
}

} // namespace
} // namespace kxsh::test
