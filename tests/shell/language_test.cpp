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

/// Statements of which the last is true and the only one that prints, behind the same set-up.
void expectTrue(const Texts& cases, const std::string& setUp = "")
{
    for (const std::string& statements : cases) {
        expectPrinted({{setUp + statements, "ans = 1\n"}});
    }
}

TEST(Language, NumbersAndRanges)
{
    expectTrue({"1 + 2 * 3 - 4 / 8 == 6.5", "-2 - -3 == 1", "(1 + 2i) * (3 - 4i) == 11+2i", "1 < 2 == 1",
                "int8(100) + 100 == 127", "int32(7) / 2 == 4", "isequal(class(single(1) + 1), 'single')",
                "int64(9007199254740993) == int64(9007199254740993)", "isequal(5:-2:1, [5 3 1])",
                "isequal(size(3:1), [1 0])", "isequal(2 * (1:3) + 1, [3 5 7])", "isequal(10 - (1:3), [9 8 7])",
                "isequal(0:0.5:1, [0 0.5 1])", "r = 1:2000000000; r = 3 * r; numel(r) == 2000000000",
                "A = sparse(20000000, 1); A(7) = 5; r = 20000000:-1:1; find(A(r)) == 19999994"});
    expectPrinted({{"x = .5, y = 1e-3;", "x = 0.5\n"},
                   {"2i * 2i, 1 / 3, 123456789012 * 1000", "ans = -4\nans = 0.3333333333\nans = 123456789012000\n"}});
}

TEST(Language, BracketsTellSignsAndQuotesBySpaces)
{
    expectTrue({"isequal([1 -2], [1, -2])", "isequal([1 - 2], -1)", "isequal([1 , -2\n 3 4;], [1 -2; 3 4])",
                "a = [1 2]; isequal([a' a'], [1 1; 2 2])", "a = [7 8]; isequal([a(2) (1)], [8 1])",
                "isequal([1 2]', [1; 2])", "isequal([[] 1:3 []], 1:3)", "isequal(size([]), [0 0])",
                "isequal('it''s', \"it's\")"});
    expectPrinted({{"a = 5; [a 'x']", "ans = '\x05x'\n"},
                   {"s = \"say 'so'\" # a comment", "s = 'say 'so''\n"},
                   {"max = (1 +\n 2)", "max = 3\n"}});
}

TEST(Language, SubscriptsAndEnd)
{
    expectTrue({"isequal(A(end, end), 4) & issparse(A(end, end))",
                "isequal(A(end), 4) & issparse(A(end))",
                "isequal(A(2:end, 1:end-1), [2 0; 0 3])",
                "v = [3 1]; isequal(A(v(end), :), [1 0 0])",
                "isequal(A(A > 1), [2; 3; 4])",
                "isequal(A(:)(3, 1), 0)",
                "isequal(A(), A)",
                "A(:, 2) = []; isequal(size(A), [3 2])",
                "A([1 3], :) = []; isequal(A, [2 0 0])",
                "A(A == 2) = 9; isequal(A(:, 1), [1; 9; 0])",
                "e = []; A([], 1) = e; nnz(A) == 4",
                "v = 1:5; v(2) = []; isequal(v, [1 3 4 5])",
                "v = [1 2]; w = v; w(2) = 7; isequal(v, [1 2])",
                "v = [1 2; 3 4]; v(3, 3) = 7; isequal(v, [1 2 0; 3 4 0; 0 0 7]) & ~issparse(v)",
                "s = 'sparse'; isequal(s(end:-1:1), 'esraps')",
                "N(2, 3) = 5; isequal(N, [0 0 0; 0 0 5]) & issparse(N)",
                "N(end + 1) = 4; isequal(N, 4)",
                "i = int16([0 3]); i(1) = 700; isequal(i, int16([700 3]))",
                "A(3, :) = 0; B = A; C = A; B(:, 1) = []; C(C > 1) = -1; isequal(A, [1 0 0; 2 0 0; 0 0 0])",
                "L = A > 2; B = L; C = L; L(L) = false; B(B) = []; isequal([nnz(L), numel(B), nnz(C)], [0 7 2])"},
               "A = sparse([1 2 3 3], [1 1 2 3], [1 2 3 4]); ");
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

constexpr const char* kEquations =
    "speye(2, 3) gives sparse([1 0 0; 0 1 0])|sparse(2, 2) gives sparse(zeros(2))|"
    "nnz(sprand(9, 9, 0.2, 3)) gives 16|randperm(5, 2) gives [1 3 5 2 4]|randperm(8, 3) gives [1 7 3 6 5 2 8 4]|"
    "reshape(F, 1, 4) gives [1 3 2 4]|find(sprand(100, 100, 0.0004, 9))' gives [127 4900 7144 9588]|"
    "find(sprand(3, 3, 0.5))' gives [3 4 6 8 9]|zeros(1, 2) gives [0 0]|ones(2, 1) gives [1; 1]|"
    "eye(2) gives [1 0; 0 1]|true gives 1 == 1|false(1, 2) gives [1 1] == 0|-Inf gives -1 / 0|"
    "full(A) gives [1.5 0 0; 0 -2 7; 0 0 0; 0 0 8]|logical([2 0]) gives [true false]|double('a') gives 97|"
    "single(0.1) == 0.1 gives false|complex(1, [2 3]) gives [1+2i 1+3i]|real(z) gives [1 3]|imag(z) gives [2 0]|"
    "int8(300) gives int8(127)|uint8(-1) gives uint8(0)|int16(1e6) gives int16(32767)|"
    "uint16(1e6) gives uint16(65535)|int32(2.5) gives int32(3)|uint32(-3) gives uint32(0)|size(A) gives [4 3]|"
    "size(A, 2) gives 3|[numel(A) nnz(A) nzmax(A) length(A)] gives [12 4 4 4]|"
    "[isempty([]) isempty(A) issparse(A)] gives [true false true]|class(A > 0) gives 'logical'|"
    "find(A)' gives [1 6 10 12]|find(F > 2)' gives [2 4]|nonzeros(A)' gives [1.5 -2 7 8]|"
    "sum(A) gives [1.5 -2 15]|sum(A, 2)' gives [1.5 5 0 8]|sum(A, 'all') gives 14.5|sum(z) gives 4+2i|"
    "sum([1 2 3]) gives 6|min(A) gives [0 -2 0]|max(A) gives [1.5 0 8]|min(A, 2)' gives [0 -2 0 0]|"
    "max(A, 'all') gives 8|min([NaN 2 1]) gives 1|max(int8([1 5])) gives int8(5)|any(A) gives true(1, 3)|"
    "all(A) gives false(1, 3)|any(F > 3, 2)' gives [false true]|all(F, 'all') gives true|any([]) gives false|"
    "diag(A) gives sparse([1.5; -2; 0])|diag(F)' gives [1 4]|diag([1 2]) gives [1 0; 0 2]|"
    "diag(sparse([1 2])) gives sparse([1 0; 0 2])|tril(F) gives [1 0; 3 4]|triu(F, 1) gives [0 2; 0 0]|"
    "triu(full(A)) gives [1.5 0 0; 0 -2 7; 0 0 0; 0 0 0]|spones(A) gives sparse([1 0 0; 0 1 1; 0 0 0; 0 0 1])|"
    "abs([-1 2]) gives [1 2]|abs(3+4i) gives 5|abs(sparse([-1 0])) gives sparse([1 0])|"
    "A' gives sparse([1.5 0 0 0; 0 -2 0 0; 0 7 0 8])|z' gives [1-2i; 3]|z.' gives [1+2i; 3]|"
    "A' * A gives sparse([2.25 0 0; 0 4 -14; 0 -14 113])|F * F gives [7 10; 15 22]|"
    "A .* A gives sparse([2.25 0 0; 0 4 49; 0 0 0; 0 0 64])|F .* [10; 100] gives [10 20; 300 400]|"
    "F ./ [1 2] gives [1 1; 3 2]|F .^ 2 gives [1 4; 9 16]|2 .^ [1 2] gives [2 4]|F \\ [5; 11] gives [1; 2]|"
    "~F gives false(2)|F > 1 & F < 4 gives [false true; true false]|"
    "~(A > 0) gives sparse([1.5 0 0; 0 -2 7; 0 0 0; 0 0 8] <= 0)|"
    "tril(A) gives sparse([1.5 0 0; 0 -2 0; 0 0 0; 0 0 8])|int64(1e10) gives int64(10000000000)|"
    "sparse([1 1 2], [1 1 2], [2 3 -1]) gives sparse([5 0; 0 -1])|sparse(1, 1, true) gives sparse(true)|"
    "find(sparse([2 1], [1 3], 1, 2, 3)) gives [2; 5]|imag(sparse(1, 1, 3+4i)) gives sparse(4)|"
    "[int8(1) 2.5] gives int8([1 3])|[true 2] gives [1 2]|[speye(2); 5 6] gives sparse([1 0; 0 1; 5 6])";

/// Of an expression and of another the value, class and storage are the same.
TEST(Language, FunctionsOfArrays)
{
    TestShell shell;
    shell("A = sparse([1 2 2 4], [1 2 3 3], [1.5 -2 7 8], 4, 3); F = [1 2; 3 4]; z = [1+2i 3];");
    const std::string gives = " gives ";
    for (const std::string& equation : split(kEquations)) {
        const std::size_t at = equation.find(gives);
        shell("x = " + equation.substr(0, at) + "; y = " + equation.substr(at + gives.size()) + ";");
        EXPECT_EQ(shell.errors(), "") << equation;
        EXPECT_EQ(shell("isequal(x, y) & isequal(class(x), class(y)) & issparse(x) == issparse(y)"), "ans = 1\n")
            << equation << shell("x");
    }
    expectTrue({"nnz(sparse([1 1], [1 1], [2 -2], 3, 3)) == 0",
                "R = real(sparse(1, [1 2], [3+4i 5i])); isequal(R, [3 0]) & nnz(R) == 1",
                "nnz(complex(speye(3), sparse(3, 3))) == 3", "~isequal(1:3, [1 2 3]')", "isequal(uint8([1 2]), [1 2])",
                "~isequal(uint64(1e30), 18446744073709551616)", "isequal(size([sparse(0, 3); sparse(3, 0)]), [3 0])",
                "F = [1 2; 3 4]; isequal(F == 1 | F == 4, [true false; false true])",
                "[i, j, v] = find(sparse([0 7; 3 0])); isequal([i j v], [2 1 3; 1 2 7])",
                "abs(nonzeros(sprand(100, 100, 0.0004, 9))(1) - 0.2359402032) < 1e-10",
                "tic; seconds = toc; seconds >= 0 & clock > 0 & argument == 0"});
    expectPrinted(
        {{"print('n:', 3, speye(2)), disp([1 2]), disp('text')",
          "n: 3 sparse double, 2-by-2, nnz 2\nfull double, 1-by-2\n  1  2\ntext\n"},
         {"x = 1; help = 2; x = 3; vars",
          "  help  full double, 1-by-1, 8 bytes\n  x     full double, 1-by-1, 8 bytes\n"},
         {"A = speye(4); z = [1i 3]; x = 1; clear x, vars, clear, vars",
          "  A  sparse double, 4-by-4, nnz 4, 68 bytes\n  z  full complex double, 1-by-2, 32 bytes\n"
          "  no variables yet\n"},
         {"Inf, pi, 1 > 0, int8(-3), single(0.1), z = [1+2i 3]'",
          "ans = Inf\nans = 3.141592654\nans = 1\nans = -3\nans = 0.1\n"
          "z = full complex double, 2-by-1\n  1-2i\n  3+0i\n"},
         {"printf('%d: %5.2f|%-5s|%s\\n', 3, pi, 'ab', 'cd'), printf('%d %4d\\n', [1 2; 3 0.5])",
          "3:  3.14|ab   |cd\n1    3\n2  0.5\n"},
         {"printf('100%%\\n'), printf('%x %c %e %g\\n', 255, 107, 1.5, 1e10)", "100%\nff k 1.500000e+00 1e+10\n"}});
}

TEST(Language, OperatorsBindAndSpread)
{
    expectTrue({"-2.^2 == -4", "2.^-1 == 0.5", "2^3.^1 == 8", "isequal(1./[2 4], [0.5 0.25])",
                "isequal([1 2; 3 4] * [1; 1] == [3; 7] & ~0, [true; true])", "1 | 0 & 0", "~1 == 0",
                "isequal([1+2i 3]', [1-2i; 3])", "isequal([1+2i 3].', [1+2i; 3])",
                "a = [1 2]; isequal(a' .* a, [1 2; 2 4])", "a = [1 2]; isequal(a'.^2, [1; 4])",
                "(-8).^(1/3) == (-8+0i).^(1/3)", "isequal((1i).^2, -1)",
                "x = [1 2 ... a comment\n 3]; y = x * ... and another\n 2; isequal(y, [2 4 6]) % and more",
                "S = sparse([2 0; 0 3]); issparse(S .* [1; 2]) & issparse(S ./ 2) & ~issparse(S + 1) & issparse(S * S)",
                "S = sparse([2 0; 0 3]); issparse(S >= 2) & ~issparse(S == [5 0; 0 0]) & nnz(S + (-1) * S) == 0"});
    expectPrinted({{"\xef\xbb\xbfx = 1", "x = 1\n"}});
}

TEST(Language, ControlFlow)
{
    expectTrue({"s = 0; for k = 1:10 if k == 3, continue, end, if k > 5 break, end, s = s + k; end\ns == 12",
                "n = 0; while n < 3\n n = n + 1;\nend\nn == 3",
                "x = 0; if sparse([1 0]), x = 1; end, if 1:3 x = x + 2; end, x == 2",
                "A = sparse(3, 3); for k = 1:3, A(k, k) = k; end, isequal(A(:, 3), [0; 0; 3])",
                "[m, n] = size(zeros(2, 5)); a = 4; [a(2), b] = size(ones(7, 8)); isequal([m n a b], [2 5 4 7 8])",
                "x = 1:3; for k = 1:3\n x(end + 1) = k; end, isequal(x, [1 2 3 1 2 3])"});
    expectPrinted({
        {"for k = [1 2; 3 4], print(k(1), k(2)), end", "1 3\n2 4\n"},
        {"if [] 1, elseif [1 0] 2, else 3, end, if [1 2; 3 4] 4, end", "ans = 3\nans = 4\n"},
        {"for i = 1:2\n for j = 1:3\n  if j == 2, break, end\n  print(i, j)\n end\nend", "1 1\n2 1\n"},
        {"for k = zeros(0, 3), k, end, for k = 5:1, k, end, for k = 'ab', k, end", "k = 'a'\nk = 'b'\n"},
    });
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
