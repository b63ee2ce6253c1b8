#include "functions.hpp"

#include "matrix_market.hpp"
#include "spy.hpp"

#include <system_error>

namespace kxsh {

namespace {

/// The path as given, or beside the running script where only there such a file exists.
std::filesystem::path inputPath(const Session& session, const std::string& name)
{
    std::filesystem::path path(name);
    std::error_code ignored;
    if (path.is_relative() && !std::filesystem::exists(path, ignored)) {
        std::filesystem::path beside = session.script.parent_path() / path;
        if (std::filesystem::exists(beside, ignored)) {
            return beside;
        }
    }
    return path;
}

Value mmread(Session& session, Arguments arguments)
{
    return readMatrixMarket(inputPath(session, fileArgument(arguments[0])));
}

Value mmwrite(Session&, Arguments arguments)
{
    writeMatrixMarket(fileArgument(arguments[0]), arguments[1]);
    return Value();
}

Value spy(Session&, Arguments arguments)
{
    spyToFile(arguments[0], fileArgument(arguments[1]));
    return Value();
}

constexpr Function kFunctions[] = {
    {"mmread", 1, 1, "mmread('f.mtx')", "Reads a Matrix Market file",
     "Coordinate format gives a sparse array (logical for a pattern), array format a\n"
     "  full one. Symmetric, skew-symmetric and hermitian files give the whole matrix;\n"
     "  entries of one place are summed. Integers are read as double, and are an error\n"
     "  where a double cannot hold them, unless mmwrite has noted their class in the\n"
     "  file. A file compressed by gzip is read as such. A relative name is looked for\n"
     "  in the current folder first, then beside the script.",
     "A = mmread('plate.mtx')", mmread},
    {"mmwrite", 2, 2, "mmwrite('f.mtx',A)", "Writes a Matrix Market file",
     "It reads back bit for bit and with its class. Symmetric, skew-symmetric and\n"
     "  hermitian matrices are written by their lower triangles; f.mtx.gz is compressed.\n"
     "  An existing file is replaced only when the new one is complete.",
     "mmwrite('eye.mtx', speye(4))", mmwrite, nullptr, 0},
    {"spy", 2, 2, "spy(A,'f.svg')", "Draws the pattern of A, as .svg, .png or .pdf",
     "Large arrays are binned: a bin is the darker the more entries it holds.", "spy(speye(10), 'eye.png')", spy,
     nullptr, 0},
};

} // namespace

const std::span<const Function> fileFunctions = kFunctions;

} // namespace kxsh
