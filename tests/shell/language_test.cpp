// What statements mean, seen by what they print.
#include "functions.hpp"
#include "test_shell.hpp"

#include <gtest/gtest.h>

namespace kxsh::test {
namespace {

using Texts = std::vector<std::string>;

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
        {"reshape(speye(2), 1, 4)", "ans = sparse double, 1-by-4, nnz 2\n  (1,1)  1\n  (1,4)  1\n"},
        {"isequal(sparse([1 0 2]), [1 0 2]), isequal(1:3, [1 2 3]'), isequal('ab', 'ab')",
         "ans = 1\nans = 0\nans = 1\n"},
        {"isequal(uint8([1 2]), [1 2]), isequal(uint64(1e30), 18446744073709551616)", "ans = 1\nans = 0\n"},
        {"[speye(2); 5 6]", "ans = sparse double, 3-by-2, nnz 4\n  (1,1)  1\n  (3,1)  5\n  (2,2)  1\n  (3,2)  6\n"},
        {"size([sparse(0, 3); sparse(3, 0)])", "ans = full double, 1-by-2\n  3  0\n"},
        {"class([int8(1) 2.5]), class([true 2])", "ans = 'int8'\nans = 'double'\n"},
        {"print('n:', 3, speye(2))", "n: 3 sparse double, 2-by-2, nnz 2\n"},
        {"x = 1; help = 2; x = 3; vars",
         "  help  full double, 1-by-1, 8 bytes\n  x     full double, 1-by-1, 8 bytes\n"},
    });
}

TEST(Language, OperatorsBindAndSpread)
{
    expectPrinted({
        {"-2.^2, 2.^-1, 2^3.^1, 1./[2 4]", "ans = -4\nans = 0.5\nans = 8\nans = full double, 1-by-2\n   0.5  0.25\n"},
        {"[1 2; 3 4] * [1; 1] == [3; 7] & ~0", "ans = full logical, 2-by-1\n  1\n  1\n"},
        {"1 | 0 & 0, ~1 == 0", "ans = 1\nans = 1\n"},
        {"[1+2i 3]', [1+2i 3].'", "ans = full complex double, 2-by-1\n  1-2i\n  3+0i\n"
                                  "ans = full complex double, 2-by-1\n  1+2i\n  3+0i\n"},
        {"a = [1 2]; a' .* a, a'.^2",
         "ans = full double, 2-by-2\n  1  2\n  2  4\nans = full double, 2-by-1\n  1\n  4\n"},
        {"(-8).^(1/3) == (-8+0i).^(1/3), (1i).^2", "ans = 1\nans = -1\n"},
        {"x = [1 2 ... a comment\n 3]; y = x * ... and another\n 2 % and more", "y = full double, 1-by-3\n  2  4  6\n"},
        {"\xef\xbb\xbfx = 1", "x = 1\n"},
        {"S = sparse([2 0; 0 3]); issparse(S .* [1; 2]), issparse(S ./ 2), issparse(S + 1), issparse(S * S)",
         "ans = 1\nans = 1\nans = 0\nans = 1\n"},
    });
}

TEST(Language, ControlFlow)
{
    expectPrinted({
        {"for k = [1 2; 3 4], k', end", "ans = full double, 1-by-2\n  1  3\nans = full double, 1-by-2\n  2  4\n"},
        {"s = 0; for k = 1:10 if k == 3, continue, end, if k > 5 break, end, s = s + k; end\ns", "s = 12\n"},
        {"n = 0; while n < 3\n n = n + 1;\nend\nn", "n = 3\n"},
        {"if [] 1, elseif [1 0] 2, else 3, end, if [1 2; 3 4] 4, end", "ans = 3\nans = 4\n"},
        {"for i = 1:2\n for j = 1:3\n  if j == 2, break, end\n  print(i, j)\n end\nend", "1 1\n2 1\n"},
        {"x = 0; if sparse([1 0]), x = 1; end, if 1:3 x = x + 2; end, x", "x = 2\n"},
        {"for k = zeros(0, 3), k, end, for k = 5:1, k, end, for k = 'ab', k, end", "k = 'a'\nk = 'b'\n"},
        {"A = sparse(3, 3); for k = 1:3, A(k, k) = k; end, full(A(:, 3))'", "ans = full double, 1-by-3\n  0  0  3\n"},
        {"[m, n] = size(zeros(2, 5)); [a(2), b] = size(ones(7, 8)); m + n, full(a), b",
         "ans = 7\nans = full double, 1-by-2\n  0  7\nb = 8\n"},
        {"x = 1:3; for k = 1:3\n x(end + 1) = k; end, x", "x = full double, 1-by-6\n  1  2  3  1  2  3\n"},
    });
}

Texts split(const std::string& list)
{
    Texts parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, '|');) {
        parts.push_back(part);
    }
    return parts;
}

/// What a full array does under a subscript is what its sparse form does.
TEST(Language, FullAndSparseArraysAreSubscriptedAlike)
{
    const Texts arrays = split("[1 0 3; 4 5 6; 0 8 9]|[5 0 7]|[5; 0; 7]|7|zeros(0, 0)|zeros(0, 3)|1:6|6:-2:1|"
                               "int16([1 2; 3 4])|[1+2i 0; 3 4]|[1 2 3] > 1");
    Texts places = split(":|2|[]|[3 1 3]|[3; 1]|2:3|3:-1:1|4:2:9|int8([1 2])|true|false|true(1, 3)|[true; false; true]|"
                         "M > 4|sparse([true false true])|0|1.5|NaN|7|1:8|1e10|2i|'a'|ones(2, 2)|zeros(0, 3)|end|"
                         "single(2)");
    for (const std::string& row : Texts{":", "2", "[3 1]", "3:-2:1", "0", "[]"}) {
        for (const std::string& column : Texts{":", "[2 2]", "end + 1"}) {
            places.push_back(row + ", " + column);
        }
    }
    TestShell shell;
    const auto outcome = [&shell](const std::string& statement) {
        shell(statement);
        return shell.outcome() == Runner::Outcome::kDone ? "" : shell.identifier();
    };
    int compared = 0;
    for (const std::string& array : arrays) {
        for (const std::string& place : places) {
            const std::string setUp = "F = " + array + "; M = F; S = sparse(F); x = 0; y = 0; ";
            ASSERT_EQ(outcome(setUp), "") << array;
            const std::string full = outcome("x = F(" + place + ");");
            const std::string sparse = outcome("y = S(" + place + ");");
            EXPECT_EQ(full, sparse) << array << " (" << place << ')';
            EXPECT_EQ(shell("isequal(x, y), class(x)"), shell("isequal(y, y), class(y)"))
                << array << " (" << place << ')';
            for (const std::string& value : Texts{"7", "[8 9]", "[]", "[1 2; 3 4]", "sparse([0 7])", "3i"}) {
                outcome(setUp);
                const std::string assignment = "(" + place + ") = " + value + ";";
                EXPECT_EQ(outcome("F" + assignment).empty(), outcome("S" + assignment).empty()) << array << assignment;
                EXPECT_EQ(shell("isequal(F, S)"), "ans = 1\n") << array << assignment << shell("F, S");
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 2500);
}

/// Sparse operands give what full ones give, wherever full ones give no NaN for an entry that is not stored.
TEST(Language, OperatorsAgreeOnSparseAndFullArrays)
{
    TestShell shell;
    shell("A = sprand(7, 5, 0.4, 1) - sprand(7, 5, 0.3, 2); B = sprand(7, 5, 0.5, 3) - 0.5 * sprand(7, 5, 0.3, 4);"
          "Z = complex(A, B); r = sprand(1, 5, 0.8, 5); c = sprand(7, 1, 0.8, 6); L = A > 0; T = B'; s = sparse(2);"
          "I = int8(10 * A); Y = Z';");
    const std::vector<std::string> names = {"A", "B", "Z", "r", "c", "L", "T", "s", "I", "Y", "2.5"};
    int compared = 0;
    for (const std::string& op : Texts{"+", "-", "*", ".*", "==", "~=", "<", "<=", ">", ">=", "&", "|"}) {
        for (const std::string& left : names) {
            for (const std::string& right : names) {
                shell("y = full(" + left + ") " + op + " full(" + right + ");");
                const std::string full = shell.identifier();
                shell("x = " + left + " " + op + " " + right + "; u = full(" + left + ") " + op + " " + right + ";");
                EXPECT_EQ(shell.identifier(), full) << left << op << right;
                if (full.empty()) {
                    ++compared;
                    EXPECT_EQ(shell("max(abs(double(full(x) - y)), 'all') < 1e-14, isequal(size(x), size(y)), "
                                    "max(abs(double(full(u) - y)), 'all') < 1e-14"),
                              "ans = 1\nans = 1\nans = 1\n")
                        << left << op << right;
                }
            }
        }
    }
    EXPECT_GT(compared, 500);
    EXPECT_EQ(shell("x = A * [1; 2; 3; 4; 5]; max(abs([A; r] \\ [x; r * (1:5)'] - (1:5)')) < 1e-12"), "ans = 1\n");
    EXPECT_EQ(shell("G = Z' * Z + speye(5); x = G \\ [1; 2; 3i; 4; 5]; max(abs(G * x - [1; 2; 3i; 4; 5])) < 1e-12"),
              "ans = 1\n");
    EXPECT_EQ(shell("T = sparse(2e9, 3); T([5 1e9], [1 3]) = [1 2; 3 4]; P = T * sparse([1; 0; 1]); "
                    "full(nonzeros(P))'"),
              "ans = full double, 1-by-2\n  3  7\n");
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
