#include "matrix_market.hpp"

#include "assembly.hpp"
#include "error.hpp"
#include "files.hpp"
#include "progress.hpp"
#include "text_lines.hpp"

#include <fmt/format.h>

#include <stdexcept>
#include <string_view>

namespace kxsh {

namespace {

enum class Field
{
    kReal,
    kInteger,
    kComplex,
    kPattern
};

enum class Symmetry
{
    kGeneral,
    kSymmetric,
    kSkewSymmetric,
    kHermitian
};

struct Header
{
    bool coordinate;
    Field field;
    Symmetry symmetry;
};

struct Entry
{
    unsigned row; ///< 0-based
    unsigned column;
    double re;
    double im;
};

class Reader
{
  public:
    Reader(const std::filesystem::path& path, std::string_view text) : path_(path), lines_(path.string(), text) {}

    Value read()
    {
        readHeader();
        skipComments();
        const bool array = !header_.coordinate;
        rows_ = sizeField("number of rows");
        columns_ = sizeField("number of columns");
        if (header_.symmetry != Symmetry::kGeneral && rows_ != columns_) {
            lines_.fail(fmt::format("a symmetric matrix must be square, not {}-by-{}", rows_, columns_));
        }
        return array ? readArray() : readCoordinates();
    }

  private:
    template <typename T>
    T choice(std::string_view what, std::initializer_list<std::pair<std::string_view, T>> choices)
    {
        const std::string found = lines_.word();
        std::string known;
        for (const auto& [name, value] : choices) {
            if (found == name) {
                return value;
            }
            known += fmt::format("{}{}", known.empty() ? "" : ", ", name);
        }
        lines_.fail(fmt::format("the {} is '{}', not one of {}", what, found, known));
    }

    void readHeader()
    {
        if (!lines_.nextLine() || lines_.word() != "%%matrixmarket" || lines_.word() != "matrix") {
            lines_.fail("no Matrix Market file: it does not begin with '%%MatrixMarket matrix'");
        }
        header_.coordinate = choice<bool>("format", {{"coordinate", true}, {"array", false}});
        header_.field = choice<Field>("field", {{"real", Field::kReal},
                                                {"double", Field::kReal},
                                                {"integer", Field::kInteger},
                                                {"complex", Field::kComplex},
                                                {"pattern", Field::kPattern}});
        header_.symmetry = choice<Symmetry>("symmetry", {{"general", Symmetry::kGeneral},
                                                         {"symmetric", Symmetry::kSymmetric},
                                                         {"skew-symmetric", Symmetry::kSkewSymmetric},
                                                         {"hermitian", Symmetry::kHermitian}});
        lines_.endOfLine();
        const bool pattern = header_.field == Field::kPattern;
        if (pattern && (!header_.coordinate || header_.symmetry == Symmetry::kSkewSymmetric ||
                        header_.symmetry == Symmetry::kHermitian)) {
            lines_.fail("a pattern goes with coordinate format, general or symmetric");
        }
        if (header_.symmetry == Symmetry::kHermitian && header_.field != Field::kComplex) {
            lines_.fail("a hermitian matrix has the field complex");
        }
    }

    /// Leaves the scanner on the line of sizes.
    void skipComments()
    {
        do {
            if (!lines_.nextFilledLine()) {
                lines_.fail("the file ends before the line of sizes");
            }
        } while (lines_.at('%'));
    }

    unsigned sizeField(std::string_view what)
    {
        const auto value = lines_.wholeNumber<std::uint64_t>(what);
        if (value > kx::kxGetMaxNumberOfElements()) {
            lines_.fail(
                fmt::format("the {}, {}, is above the limit of {}", what, value, kx::kxGetMaxNumberOfElements()));
        }
        return static_cast<unsigned>(value);
    }

    unsigned index(std::string_view what, unsigned limit)
    {
        const auto value = lines_.wholeNumber<std::int64_t>(what);
        if (value < 1 || value > limit) {
            lines_.fail(fmt::format("the {} {} lies outside 1 to {}", what, value, limit));
        }
        return static_cast<unsigned>(value - 1);
    }

    /// Bytes of the shortest possible entry, line end included.
    [[nodiscard]] std::size_t leastBytesPerEntry() const
    {
        const std::size_t places = header_.coordinate ? 4 : 0;
        switch (header_.field) {
        case Field::kPattern:
            return 4; // always in coordinate format
        case Field::kComplex:
            return places + 4;
        default:
            return places + 2;
        }
    }

    /// Refuses a count that the rest of the file cannot hold, before anything is allocated for it.
    void checkCount(std::uint64_t count) const
    {
        const std::uint64_t room = (lines_.bytesLeft() + 1) / leastBytesPerEntry();
        if (count > room) {
            lines_.fail(fmt::format("the file cannot hold the {} entries announced: only {} bytes follow", count,
                                    lines_.bytesLeft()));
        }
        if (count > kx::kxGetMaxNumberOfElements()) {
            lines_.fail(fmt::format("{} entries are above the limit of {}", count, kx::kxGetMaxNumberOfElements()));
        }
    }

    void nextEntryLine(std::uint64_t done, std::uint64_t count)
    {
        if (!lines_.nextFilledLine()) {
            lines_.fail(fmt::format("the file ends after {} of {} entries", done, count));
        }
    }

    void checkEnd(std::uint64_t count)
    {
        if (lines_.nextFilledLine()) {
            lines_.fail(fmt::format("there is more than the {} entries announced", count));
        }
    }

    void readValue(Entry& entry)
    {
        entry.re = header_.field == Field::kPattern ? 1 : lines_.number();
        entry.im = header_.field == Field::kComplex ? lines_.number() : 0;
        lines_.endOfLine();
    }

    /// Checks an entry against the symmetry of the file.
    void checkTriangle(const Entry& entry) const
    {
        if (header_.symmetry == Symmetry::kGeneral) {
            return;
        }
        if (entry.row < entry.column) {
            lines_.fail(fmt::format("entry ({},{}) lies above the diagonal of a symmetric file", entry.row + 1,
                                    entry.column + 1));
        }
        if (entry.row != entry.column) {
            return;
        }
        if (header_.symmetry == Symmetry::kSkewSymmetric && (entry.re != 0 || entry.im != 0)) {
            lines_.fail("the diagonal of a skew-symmetric matrix is zero");
        }
        if (header_.symmetry == Symmetry::kHermitian && entry.im != 0) {
            lines_.fail("the diagonal of a hermitian matrix is real");
        }
    }

    /// The entry that the symmetry of the file puts on the other side of the diagonal.
    [[nodiscard]] Entry mirrored(const Entry& entry) const
    {
        const bool negative = header_.symmetry == Symmetry::kSkewSymmetric;
        const bool conjugate = header_.symmetry == Symmetry::kHermitian;
        return {entry.column, entry.row, negative ? -entry.re : entry.re, negative || conjugate ? -entry.im : entry.im};
    }

    Value readCoordinates()
    {
        const auto count = lines_.wholeNumber<std::uint64_t>("number of entries");
        lines_.endOfLine();
        checkCount(count);
        const bool complex = header_.field == Field::kComplex;
        const bool mirrors = header_.symmetry != Symmetry::kGeneral;
        Triplets triplets;
        triplets.reserve(mirrors ? 2 * count : count, complex);
        const auto add = [&](const Entry& entry) {
            triplets.push(entry.row, entry.column, entry.re);
            if (complex) {
                triplets.im.push_back(entry.im);
            }
        };
        const Progress progress(path_, count);
        for (std::uint64_t done = 0; done < count; ++done) {
            progress.step(done);
            nextEntryLine(done, count);
            Entry entry{};
            entry.row = index("row", rows_);
            entry.column = index("column", columns_);
            readValue(entry);
            checkTriangle(entry);
            add(entry);
            if (mirrors && entry.row != entry.column) {
                add(mirrored(entry));
            }
        }
        checkEnd(count);
        Value result = assemble(std::move(triplets), rows_, columns_);
        return header_.field == Field::kPattern ? converted(result, kxLOGICAL_CLASS) : result;
    }

    /// Column by column; symmetric files give the lower triangle, skew-symmetric ones without the diagonal.
    Value readArray()
    {
        lines_.endOfLine();
        const std::uint64_t n = columns_;
        const bool skew = header_.symmetry == Symmetry::kSkewSymmetric;
        const bool mirrors = header_.symmetry != Symmetry::kGeneral;
        const std::uint64_t below = n == 0 ? 0 : n * (n - 1) / 2;
        const std::uint64_t count = mirrors ? below + (skew ? 0 : n) : rows_ * n;
        checkCount(count);
        Value result =
            Value::full(rows_, columns_, kxDOUBLE_CLASS, header_.field == Field::kComplex ? kxCOMPLEX : kxREAL);
        const auto put = [&, re = result.data<double>(), im = result.imagData<double>()](const Entry& entry) {
            const std::size_t place = std::size_t{entry.column} * rows_ + entry.row;
            re[place] = entry.re;
            if (im != nullptr) {
                im[place] = entry.im;
            }
        };
        const Progress progress(path_, count);
        std::uint64_t done = 0;
        for (unsigned j = 0; j < columns_; ++j) {
            const unsigned first = !mirrors ? 0 : skew ? j + 1 : j;
            for (unsigned i = first; i < rows_; ++i) {
                progress.step(done);
                nextEntryLine(done++, count);
                Entry entry{i, j, 0, 0};
                readValue(entry);
                checkTriangle(entry);
                put(entry);
                if (mirrors && i != j) {
                    put(mirrored(entry));
                }
            }
        }
        checkEnd(count);
        kx::kxFreeImagIfZero(result.get());
        return result;
    }

    const std::filesystem::path& path_;
    TextLines lines_;
    Header header_{};
    unsigned rows_ = 0;
    unsigned columns_ = 0;
};

} // namespace

Value readMatrixMarket(const std::filesystem::path& path)
{
    return parseMatrixMarket(path, readFile(path));
}

Value parseMatrixMarket(const std::filesystem::path& path, std::string_view text)
{
    Value array = Reader(path, text).read();
    if (const std::string broken = array.isSparse() ? kx::kxCheckSparse(array.get()) : ""; !broken.empty()) {
        throw std::logic_error(fmt::format("{} was read into a broken array: {}", path.string(), broken));
    }
    return array;
}

} // namespace kxsh
