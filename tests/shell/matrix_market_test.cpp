// Matrix Market files: what is read from them, what is refused, and that written files read back bit for bit.
#include "test_shell.hpp"

#include "matrix_market.hpp"
#include "support/checks.hpp"

#include <gtest/gtest.h>

namespace kxsh::test {
namespace {

using zqsp::test::LeakCheck;

TEST(MatrixMarket, FormatsFieldsAndSymmetries)
{
    const TestFolder folder;
    // A file, and an expression with the same elements.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"%%MatrixMarket matrix coordinate real general\n% a comment\n\n2 3 3\n1 1 1.5\n2 3 -2e3\n1 2 +4\n",
         "[1.5 4 0; 0 0 -2000]"},
        {"%%MatrixMarket matrix coordinate integer general\r\n2 2 2\r\n1 1 7\r\n1 1 8\r\n", "[15 0; 0 0]"},
        {"%%matrixmarket MATRIX Coordinate Complex General\n2 2 1\n2 1 1 -3", "[0 0; 1-3i 0]"},
        {"%%MatrixMarket matrix coordinate pattern general\n2 2 2\n1 2\n\n2 2\n", "[0 1; 0 1]"},
        {"%%MatrixMarket matrix coordinate real symmetric\n2 2 2\n1 1 5\n2 1 3\n", "[5 3; 3 0]"},
        {"%%MatrixMarket matrix coordinate pattern symmetric\n2 2 1\n2 1\n", "[0 1; 1 0]"},
        {"%%MatrixMarket matrix coordinate real skew-symmetric\n2 2 1\n2 1 3\n", "[0 -3; 3 0]"},
        {"%%MatrixMarket matrix coordinate complex skew-symmetric\n2 2 1\n2 1 3 1\n", "[0 -3-1i; 3+1i 0]"},
        {"%%MatrixMarket matrix coordinate complex symmetric\n2 2 1\n2 1 3 1\n", "[0 3+1i; 3+1i 0]"},
        {"%%MatrixMarket matrix coordinate complex hermitian\n2 2 2\n2 1 3 1\n2 2 4 0\n", "[0 3-1i; 3+1i 4]"},
        {"%%MatrixMarket matrix coordinate real general\n0 5 0\n", "zeros(0,5)"},
        {"%%MatrixMarket matrix array real general\n2 2\n1\n2\n3\n4\n", "[1 3; 2 4]"},
        {"%%MatrixMarket matrix array integer symmetric\n2 2\n1\n2\n3\n", "[1 2; 2 3]"},
        {"%%MatrixMarket matrix array real skew-symmetric\n3 3\n1\n2\n3\n", "[0 -1 -2; 1 0 -3; 2 3 0]"},
        {"%%MatrixMarket matrix array complex hermitian\n2 2\n1 0\n2 5\n3 0\n", "[1 2-5i; 2+5i 3]"},
        {"%%MatrixMarket matrix array real general\n0 0\n", "[]"},
    };
    for (const auto& [file, same] : cases) {
        TestShell shell;
        shell("A = mmread('" + folder.file("read.mtx", file) + "'); E = " + same + ";");
        ASSERT_EQ(shell.errors(), "") << file;
        const std::string classOfA = file.find(" pattern ") != std::string::npos ? "logical" : "double";
        EXPECT_EQ(shell("isequal(A, E), class(A)"), "ans = 1\nans = '" + classOfA + "'\n") << file;
        EXPECT_EQ(shell["A"].isSparse(), file.find("rray ") == std::string::npos) << file;
    }
}

TEST(MatrixMarket, BadFilesAreRefusedByLine)
{
    const std::string real = "%%MatrixMarket matrix coordinate real general\n";
    const std::string symmetric = "%%MatrixMarket matrix coordinate real symmetric\n";
    const std::string complex = "%%MatrixMarket matrix coordinate complex hermitian\n";
    // A file, and the complaint behind the number of the line.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "1: no Matrix Market file"},
        {"hello\n", "1: no Matrix Market file"},
        {"%%MatrixMarket matrix list real general\n", "1: the format is 'list'"},
        {"%%MatrixMarket matrix array quaternion general\n", "1: the field is 'quaternion'"},
        {"%%MatrixMarket matrix array real lopsided\n", "1: the symmetry is 'lopsided'"},
        {"%%MatrixMarket matrix array real\n", "1: the symmetry is ''"},
        {"%%MatrixMarket matrix array pattern general\n", "1: a pattern goes with"},
        {"%%MatrixMarket matrix coordinate real hermitian\n", "1: a hermitian matrix has"},
        {real, "1: the file ends before the line of sizes"},
        {real + "% only\n% comments\n", "3: the file ends before the line of sizes"},
        {real + "3 3\n1 1 1\n", "2: the number of entries is missing"},
        {real + "3 -3 1\n1 1 1\n", "2: the number of columns is missing or no whole number"},
        {real + "3 3 1 1\n1 1 1\n", "2: unexpected '1'"},
        {real + "3 3 2\n1 1 1.000000000\n", "3: the file ends after 1 of 2 entries"},
        {real + "3 3 2\n1 1 1.000000\n\n2 2", "5: a value is missing"},
        {real + "3 3 1\n1 1 1\n2 2 2\n", "4: there is more than the 1 entries announced"},
        {real + "3 3 1\n4 1 1\n", "3: the row 4 lies outside 1 to 3"},
        {real + "3 3 1\n1 0 1\n", "3: the column 0 lies outside 1 to 3"},
        {real + "1 3 1\n2 1 1\n", "3: the row 2 lies outside 1 to 1"},
        {real + "3 3 1\n1 99999999999999999999 1\n", "3: the column is too large"},
        {real + "3 3 1\n1.5 1 1\n", "3: the row is missing or no whole number"},
        {real + "3 3 1\n1 1 one\n", "3: a value is missing or no number"},
        {real + "3 3 1\n1 1 1x\n", "3: a value is missing or no number"},
        {real + "3 3 1\n1 1 1 1\n", "3: unexpected '1'"},
        {real + "4294967296 3 1\n1 1 1\n", "2: the number of rows, 4294967296, is above the limit"},
        {real + "3 3 2000000000\n1 1 1\n", "2: the file cannot hold the 2000000000 entries announced"},
        {real + "3 3 18446744073709551616\n1 1 1\n", "2: the number of entries is too large"},
        {"%%MatrixMarket matrix array real general\n2000000000 2000000000\n1\n", "2: the file cannot hold"},
        {symmetric + "3 2 1\n1 1 1\n", "2: a symmetric matrix must be square"},
        {symmetric + "3 3 1\n1 2 1\n", "3: entry (1,2) lies above the diagonal"},
        {"%%MatrixMarket matrix coordinate real skew-symmetric\n3 3 1\n1 1 1\n", "3: the diagonal of a skew"},
        {complex + "3 3 1\n1 1 1 1\n", "3: the diagonal of a hermitian"},
        {complex + "3 3 1\n2 1 1.0000\n", "3: a value is missing"},
        {"%%MatrixMarket matrix coordinate integer general\n3 3 1\n1 1 1.5\n", "3: the value is no whole number"},
        {"%%MatrixMarket matrix array integer general\n1 1\n9007199254740993\n", "3: the value is no whole number"},
        {"%%MatrixMarket matrix array integer general\n%kxsh:class int8\n1 1\n128\n", "4: the value is too large"},
    };
    const TestFolder folder;
    const LeakCheck leaks;
    for (const auto& [file, complaint] : cases) {
        TestShell shell;
        const std::string path = folder.file("bad.mtx", file);
        shell("A = 1; A = mmread('" + path + "');");
        EXPECT_EQ(shell.identifier(), "kxsh:matrixMarket") << file;
        EXPECT_NE(shell.errors().find("error: " + path + ":" + complaint), std::string::npos) << file << shell.errors();
        EXPECT_EQ(shell("A"), "A = 1\n");
    }
    {
        TestShell shell;
        shell("mmread('" + (folder / "") + "')");
        EXPECT_EQ(shell.identifier(), "kxsh:file") << "a folder is no file";
    }
    EXPECT_EQ(leaks.complaint(), "");
}

TEST(MatrixMarket, WrittenFilesReadBackBitForBit)
{
    const TestFolder folder;
    const std::vector<std::string> expressions = {"sprand(300, 200, 0.05, 1)",
                                                  "complex(sprand(20, 30, 0.2, 1), sprand(20, 30, 0.2, 2))",
                                                  "sprand(30, 30, 0.1) > 0.5",
                                                  "sparse([1 2 3], [1 2 3], [1e-310 1.7976931348623157e308 0.1])",
                                                  "[1 / 3 -2.5; 1e22 5e-324]",
                                                  "[1+2i 3]",
                                                  "sparse(7, 3)",
                                                  "zeros(0, 4)",
                                                  "sparse([1 2], 1, [1 -1] / 0)",
                                                  "single([0.1 0.2])",
                                                  "[1 2; 2 3]",
                                                  "[0 -2; 2 0]",
                                                  "[1 2i; -2i 3]",
                                                  "speye(4)",
                                                  "sprand(9, 9, 0.2, 1) - sprand(9, 9, 0.2, 1).'",
                                                  "sprand(9, 9, 0.2, 1) + sprand(9, 9, 0.2, 1)' > 0",
                                                  "int64([9007199254740993 -5])",
                                                  "[true false]",
                                                  "uint8(sparse(3, 3, 200))",
                                                  "1:5"};
    for (const std::string& expression : expressions) {
        TestShell shell;
        const std::string path = folder / "written.mtx";
        const std::string again = folder / "again.mtx";
        shell("A = " + expression + "; mmwrite('" + path + "', A); B = mmread('" + path + "'); mmwrite('" + again +
              "', B)");
        ASSERT_EQ(shell.errors(), "") << expression;
        EXPECT_EQ(shell("isequal(A, B), issparse(A) == issparse(B), nnz(A) == nnz(B)"), "ans = 1\nans = 1\nans = 1\n")
            << expression;
        EXPECT_EQ(shell("isequal(class(A), class(B))"), "ans = 1\n") << expression;
        EXPECT_EQ(contentOf(path), contentOf(again)) << expression;
    }
}

TEST(MatrixMarket, WhatIsWrittenOfSymmetricAndCompressedMatrices)
{
    const TestFolder folder;
    TestShell shell;
    const std::string path = folder / "a.mtx";
    shell("A = sparse([2 -1 0; -1 2 -1; 0 -1 2]); mmwrite('" + path + "', A)");
    EXPECT_TRUE(contentOf(path).starts_with("%%MatrixMarket matrix coordinate real symmetric\n3 3 5\n1 1 2\n2 1 -1\n"));
    shell("mmwrite('" + path + "', complex(0 * A, A) - complex(A, 0 * A)')");
    EXPECT_TRUE(contentOf(path).starts_with("%%MatrixMarket matrix coordinate complex symmetric\n")) << contentOf(path);
    shell("mmwrite('" + path + "', complex([1 0; 0 3], [0 2; -2 0]))");
    EXPECT_TRUE(contentOf(path).starts_with("%%MatrixMarket matrix array complex hermitian\n2 2\n1 0\n0 -2\n3 0\n"));

    shell("B = sprand(200, 200, 0.1, 1); mmwrite('" + path + ".gz', B); mmwrite('" + path + "', B)");
    EXPECT_LT(std::filesystem::file_size(path + ".gz"), std::filesystem::file_size(path) / 2);
    EXPECT_EQ(shell("isequal(mmread('" + path + ".gz'), B)"), "ans = 1\n");
    const std::string packed = contentOf(path + ".gz");
    folder.file("cut.mtx.gz", packed.substr(0, packed.size() / 2));
    shell("mmread('" + (folder / "cut.mtx.gz") + "')");
    EXPECT_EQ(shell.identifier(), "kxsh:file") << shell.errors();
}

/// Neither the extent nor what a count announces costs anything that is not in the file.
TEST(MatrixMarket, WideFilesTakeTheMemoryOfTheirMatrix)
{
#ifdef KXSH_SANITIZED
    GTEST_SKIP() << "the sanitizers keep what has been freed";
#endif
    const TestFolder folder;
    TestShell shell;
    const std::string wide = folder.file("wide.mtx", "%%MatrixMarket matrix coordinate real general\n1 20000000 0\n");
    std::string rows = "%%MatrixMarket matrix coordinate pattern symmetric\n400000 400000 2400000\n";
    for (int k = 0; k < 2400000; ++k) {
        const int i = 400000 - k / 6;
        rows += std::to_string(i) + ' ' + std::to_string(i * (k % 6 + 1L) / 7 + 1) + '\n';
    }
    const std::string pattern = folder.file("pattern.mtx", rows);
    for (const auto& [path, most] : {std::pair(wide, 81 << 20), std::pair(pattern, 50 << 20)}) {
        const auto peak = [] {
            std::istringstream status(contentOf("/proc/self/status"));
            for (std::string word; status >> word;) {
                if (word == "VmHWM:") {
                    std::size_t kilobytes = 0;
                    status >> kilobytes;
                    return kilobytes << 10;
                }
            }
            return std::size_t{0};
        };
        std::ofstream("/proc/self/clear_refs") << 5; // the peak starts anew
        const std::size_t before = peak();
        shell("A = mmread('" + path + "');");
        ASSERT_EQ(shell.errors(), "");
        EXPECT_LT(peak(), before + static_cast<std::size_t>(most)) << path;
    }
}

TEST(MatrixMarket, FilesKeepTheirModeAndNothingIsLeftBehind)
{
    namespace fs = std::filesystem;
    const TestFolder folder;
    TestShell shell;
    const std::string path = folder.file("a.mtx", "old");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink(path, folder / "link.mtx");
    fs::create_symlink(folder / "nowhere", folder / "dangling.mtx");
    shell("mmwrite('" + (folder / "link.mtx") + "', speye(2))");
    EXPECT_EQ(shell.errors(), "");
    EXPECT_TRUE(fs::is_symlink(folder / "link.mtx"));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_NE(contentOf(path), "old");
    fs::permissions(path, fs::perms::owner_read);
    const std::string kept = contentOf(path);
    for (const std::string& name : std::vector<std::string>{path, folder / "link.mtx", folder / "dangling.mtx"}) {
        shell("mmwrite('" + name + "', speye(3))");
        EXPECT_EQ(shell.identifier(), "kxsh:file") << name;
        shell("spy(speye(3), '" + name + "')");
        EXPECT_NE(shell.errors(), "") << name;
    }
    EXPECT_EQ(contentOf(path), kept);
    shell("mmwrite('/dev/full', sprand(1000, 1000, 0.1))");
    EXPECT_EQ(shell.identifier(), "kxsh:file");
    EXPECT_TRUE(fs::exists("/dev/full"));
    shell("mmwrite(['" + path + "' double(0) 'x'], speye(3))");
    EXPECT_EQ(shell.identifier(), "kxsh:arguments") << "a NUL ends no name";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), fs::directory_iterator()), 3);
}

} // namespace
} // namespace kxsh::test
