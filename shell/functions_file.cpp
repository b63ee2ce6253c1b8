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
        std::filesystem::path beside = session.scriptFolder / path;
        if (std::filesystem::exists(beside, ignored)) {
            return beside;
        }
    }
    return path;
}

Value mmread(Session& session, Arguments arguments)
{
    return readMatrixMarket(inputPath(session, textArgument(arguments[0], "the file name")));
}

Value mmwrite(Session&, Arguments arguments)
{
    writeMatrixMarket(textArgument(arguments[0], "the file name"), arguments[1]);
    return Value();
}

Value spy(Session&, Arguments arguments)
{
    spyToFile(arguments[0], textArgument(arguments[1], "the file name"));
    return Value();
}

constexpr Function kFunctions[] = {
    {"mmread", 1, 1, "mmread('f.mtx')", "Reads a Matrix Market file",
     "Coordinate format gives a sparse array (logical for a pattern), array format a\n"
     "  full one. Symmetric, skew-symmetric and hermitian files give the whole matrix;\n"
     "  entries of one place are summed. A relative name is looked for in the current\n"
     "  folder first, then beside the script.",
     "A = mmread('plate.mtx')", mmread},
    {"mmwrite", 2, 2, "mmwrite('f.mtx',A)", "Writes a Matrix Market file",
     "It reads back bit for bit; integer and single arrays read back as double. An\n"
     "  existing file is replaced only when the new one is complete.",
     "mmwrite('eye.mtx', speye(4))", mmwrite},
    {"spy", 2, 2, "spy(A,'f.svg')", "Draws the pattern of A as a picture, .svg or .png",
     "Large arrays are binned: a bin is the darker the more entries it holds.", "spy(speye(10), 'eye.png')", spy},
};

} // namespace

std::span<const Function> fileFunctions()
{
    return kFunctions;
}

} // namespace kxsh
