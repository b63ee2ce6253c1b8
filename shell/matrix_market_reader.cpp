#include "matrix_market.hpp"

#include "assembly.hpp"
#include "error.hpp"
#include "files.hpp"
#include "progress.hpp"
#include "text_lines.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

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
    kxClassID id = kxDOUBLE_CLASS; ///< also the one that mmwrite has noted, if it goes with the field
};

/// Values of the element type T.
template <typename T>
struct Entry
{
    unsigned row; ///< 0-based
    unsigned column;
    T re;
    T im;
};

class Reader
{
  public:
    Reader(const std::filesystem::path& path, std::string text)
        : path_(path), text_(std::move(text)), lines_(path.string(), text_)
    {
    }

    Value read()
    {
        readHeader();
        skipComments();
        rows_ = sizeField("number of rows");
        columns_ = sizeField("number of columns");
        lines_.require(header_.symmetry == Symmetry::kGeneral || rows_ == columns_,
                       "a symmetric matrix must be square, not {}-by-{}", rows_, columns_);
        return withElementType(header_.id, [&]<typename T>(std::type_identity<T>) {
            using Element = std::conditional_t<std::is_same_v<T, char16_t>, double, T>; // no file holds text
            return header_.coordinate ? readCoordinates<Element>() : readArray<Element>();
        });
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
        lines_.fail("the {} is '{}', not one of {}", what, found, known);
    }

    void readHeader()
    {
        lines_.require(lines_.nextLine() && lines_.word() == "%%matrixmarket" && lines_.word() == "matrix",
                       "no Matrix Market file: it does not begin with '%%MatrixMarket matrix'");
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
        header_.id = header_.field == Field::kPattern ? kxLOGICAL_CLASS : kxDOUBLE_CLASS;
        const bool signless = header_.symmetry == Symmetry::kGeneral || header_.symmetry == Symmetry::kSymmetric;
        lines_.require(header_.field != Field::kPattern || (header_.coordinate && signless),
                       "a pattern goes with coordinate format, general or symmetric");
        lines_.require(header_.symmetry != Symmetry::kHermitian || header_.field == Field::kComplex,
                       "a hermitian matrix has the field complex");
    }

    /// Leaves the scanner on the line of sizes.
    void skipComments()
    {
        for (;;) {
            lines_.require(lines_.nextFilledLine(), "the file ends before the line of sizes");
            if (!lines_.at('%')) {
                return;
            }
            if (lines_.word() == kClassNote) {
                noteClass(classNamed(lines_.word()));
            }
        }
    }

    void noteClass(kxClassID id)
    {
        const bool whole = isIntegerClass(id) || (id == kxLOGICAL_CLASS && !header_.coordinate);
        if (header_.field == Field::kInteger ? whole : id == kxSINGLE_CLASS && header_.field != Field::kPattern) {
            header_.id = id;
        }
    }

    unsigned sizeField(std::string_view what)
    {
        const auto value = lines_.wholeNumber<std::uint64_t>(what);
        const unsigned most = kx::kxGetMaxNumberOfElements();
        lines_.require(value <= most, "the {}, {}, is above the limit of {}", what, value, most);
        return static_cast<unsigned>(value);
    }

    unsigned index(std::string_view what, unsigned limit)
    {
        const auto value = lines_.wholeNumber<std::int64_t>(what);
        lines_.require(value >= 1 && value <= limit, "the {} {} lies outside 1 to {}", what, value, limit);
        return static_cast<unsigned>(value - 1);
    }

    /// Refuses a count that the rest of the file cannot hold, before anything is allocated for it.
    void checkCount(std::uint64_t count) const
    {
        const std::size_t values = header_.field == Field::kPattern ? 0 : header_.field == Field::kComplex ? 2 : 1;
        const std::size_t leastBytes = 2 * ((header_.coordinate ? 2 : 0) + values); // of an entry, line end included
        const std::size_t left = lines_.bytesLeft();
        lines_.require(count <= (left + 1) / leastBytes,
                       "the file cannot hold the {} entries announced: only {} bytes follow", count, left);
        const unsigned most = kx::kxGetMaxNumberOfElements();
        lines_.require(count <= most, "{} entries are above the limit of {}", count, most);
    }

    void nextEntryLine(std::uint64_t done, std::uint64_t count)
    {
        lines_.require(lines_.nextFilledLine(), "the file ends after {} of {} entries", done, count);
    }

    void checkEnd(std::uint64_t count)
    {
        lines_.require(!lines_.nextFilledLine(), "there is more than the {} entries announced", count);
    }

    template <typename T>
    T value()
    {
        if constexpr (std::is_same_v<T, bool>) {
            return header_.field == Field::kPattern || lines_.wholeNumber<unsigned>("value") != 0;
        } else if constexpr (std::is_integral_v<T>) {
            return lines_.wholeNumber<T>("value");
        } else {
            const double number = lines_.number();
            constexpr double kMaxExact = 9007199254740992.0; // 2^53
            const bool whole = number == std::trunc(number) && std::abs(number) < kMaxExact;
            lines_.require(header_.field != Field::kInteger || whole, "the value is no whole number below 2^53");
            return static_cast<T>(number);
        }
    }

    /// The value of an entry that has its place, checked against the symmetry of the file.
    template <typename T>
    void readValue(Entry<T>& entry)
    {
        entry.re = value<T>();
        entry.im = header_.field == Field::kComplex ? value<T>() : T{};
        lines_.endOfLine();
        if (header_.symmetry == Symmetry::kGeneral || entry.row > entry.column) {
            return;
        }
        lines_.require(entry.row == entry.column, "entry ({},{}) lies above the diagonal of a symmetric file",
                       entry.row + 1, entry.column + 1);
        lines_.require(header_.symmetry != Symmetry::kSkewSymmetric || (entry.re == T{} && entry.im == T{}),
                       "the diagonal of a skew-symmetric matrix is zero");
        lines_.require(header_.symmetry != Symmetry::kHermitian || entry.im == T{},
                       "the diagonal of a hermitian matrix is real");
    }

    /// f of an entry, and of the one that the symmetry of the file puts on the other side of the diagonal.
    template <typename T, typename F>
    void withMirrored(const Entry<T>& entry, F f) const
    {
        f(entry);
        if (header_.symmetry != Symmetry::kGeneral && entry.row != entry.column) {
            const auto minus = [](T v) { return static_cast<T>(-v); };
            const bool negative = header_.symmetry == Symmetry::kSkewSymmetric;
            const bool conjugate = header_.symmetry == Symmetry::kHermitian;
            f(Entry<T>{entry.column, entry.row, negative ? minus(entry.re) : entry.re,
                       negative || conjugate ? minus(entry.im) : entry.im});
        }
    }

    [[nodiscard]] kxComplexity complexity() const { return header_.field == Field::kComplex ? kxCOMPLEX : kxREAL; }

    /// Gives the memory of the lines that have been read back, every so often.
    void releaseText(std::uint64_t done)
    {
        constexpr std::uint64_t kInterval = 1U << 16;
        if (done % kInterval == 0) {
            static const auto kPage = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
            char* const read = text_.data() + (text_.size() - lines_.bytesLeft());
            const auto pageFrom = [](char* p) { return p + (-reinterpret_cast<std::uintptr_t>(p) & (kPage - 1)); };
            char* const first = pageFrom(text_.data() + released_);
            if (read > first + kPage) {
                char* const stop = pageFrom(read - kPage + 1); // the page that `read` lies in stays
                static_cast<void>(::madvise(first, static_cast<std::size_t>(stop - first), MADV_DONTNEED));
                released_ = static_cast<std::size_t>(stop - text_.data());
            }
        }
    }

    /// Keeps the entries between counting and placing: until then the text makes room for them, then it is freed.
    template <typename T>
    Value readCoordinates()
    {
        const auto count = lines_.wholeNumber<std::uint64_t>("number of entries");
        lines_.endOfLine();
        checkCount(count);
        const bool complex = header_.field == Field::kComplex;
        const Progress progress("reading", path_, 2 * count);
        Assembly assembly(rows_, columns_, header_.id, complexity());
        std::vector<std::pair<unsigned, unsigned>> places;
        std::vector<T> values;
        places.reserve(count);
        values.reserve(complex ? 2 * count : count);
        for (std::uint64_t done = 0; done < count; ++done) {
            progress.step(done);
            releaseText(done);
            nextEntryLine(done, count);
            Entry<T> entry{index("row", rows_), index("column", columns_), T{}, T{}};
            readValue(entry);
            places.emplace_back(entry.row, entry.column);
            values.push_back(entry.re);
            if (complex) {
                values.push_back(entry.im);
            }
            withMirrored(entry, [&](const Entry<T>& each) { assembly.count(each.column); });
        }
        checkEnd(count);
        std::string().swap(text_);
        assembly.startPlacing();
        auto next = values.cbegin();
        for (std::uint64_t done = 0; done < count; ++done) {
            progress.step(count + done);
            Entry<T> entry{places[done].first, places[done].second, *next++, T{}};
            if (complex) {
                entry.im = *next++;
            }
            withMirrored(entry, [&](const Entry<T>& each) { assembly.place(each.row, each.column, each.re, each.im); });
        }
        places = std::vector<std::pair<unsigned, unsigned>>();
        values = std::vector<T>();
        return assembly.finish();
    }

    /// Column by column; symmetric files give the lower triangle, skew-symmetric ones without the diagonal.
    template <typename T>
    Value readArray()
    {
        lines_.endOfLine();
        const std::uint64_t n = columns_;
        const bool skew = header_.symmetry == Symmetry::kSkewSymmetric;
        const bool mirrors = header_.symmetry != Symmetry::kGeneral;
        const std::uint64_t below = n == 0 ? 0 : n * (n - 1) / 2;
        const std::uint64_t count = mirrors ? below + (skew ? 0 : n) : rows_ * n;
        checkCount(count);
        Value result = Value::full(rows_, columns_, header_.id, complexity());
        const auto put = [&, re = result.data<T>(), im = result.imagData<T>()](const Entry<T>& entry) {
            const std::size_t place = std::size_t{entry.column} * rows_ + entry.row;
            re[place] = entry.re;
            if (im != nullptr) {
                im[place] = entry.im;
            }
        };
        const Progress progress("reading", path_, count);
        std::uint64_t done = 0;
        for (unsigned j = 0; j < columns_; ++j) {
            const unsigned first = !mirrors ? 0 : skew ? j + 1 : j;
            for (unsigned i = first; i < rows_; ++i) {
                progress.step(done);
                nextEntryLine(done++, count);
                Entry<T> entry{i, j, T{}, T{}};
                readValue(entry);
                withMirrored(entry, put);
            }
        }
        checkEnd(count);
        kx::kxFreeImagIfZero(result.get());
        return result;
    }

    const std::filesystem::path& path_;
    std::string text_;
    std::size_t released_ = 0; ///< bytes of the text whose memory has been given back
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

Value parseMatrixMarket(const std::filesystem::path& path, std::string text)
{
    return Reader(path, std::move(text)).read();
}

} // namespace kxsh
