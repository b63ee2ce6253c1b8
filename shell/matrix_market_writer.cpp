#include "matrix_market.hpp"

#include "elementwise.hpp"
#include "error.hpp"
#include "files.hpp"
#include "interrupt.hpp"
#include "operators.hpp"
#include "progress.hpp"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace kxsh {

namespace {

/// Collects text and hands it to the file in large pieces.
class Writer
{
  public:
    explicit Writer(OutputFile& file) : file_(file) {}

    template <typename... Parts>
    void put(const Parts&... parts)
    {
        (fmt::format_to(std::back_inserter(buffer_), FMT_COMPILE("{}"), parts), ...);
        if (buffer_.size() > kPiece) {
            flush();
        }
    }
    void flush()
    {
        pollInterrupt();
        file_.write({buffer_.data(), buffer_.size()});
        buffer_.clear();
    }

  private:
    static constexpr std::size_t kPiece = std::size_t{1} << 20;

    OutputFile& file_;
    fmt::memory_buffer buffer_;
};

/// What is written of a value: a single's decimal digits must give the same number in double precision.
template <typename T>
auto written(T value)
{
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<double>(value);
    } else {
        return +value;
    }
}

std::string_view fieldOf(const Value& value)
{
    if (value.isComplex()) {
        return "complex";
    }
    if (value.classId() == kxLOGICAL_CLASS) {
        return value.isSparse() ? "pattern" : "integer";
    }
    return isIntegerClass(value.classId()) ? "integer" : "real";
}

bool sameBytes(const Value& a, const Value& b)
{
    const std::size_t size = (a.isSparse() ? a.entries() : a.count()) * kx::kxGetElementSize(a.get());
    const auto same = [size](const void* x, const void* y) { return size == 0 || std::memcmp(x, y, size) == 0; };
    return (!a.isSparse() || samePattern(a, b)) && same(a.get()->pr, b.get()->pr) &&
           (!a.isComplex() || same(a.get()->pi, b.get()->pi));
}

/// "symmetric", "hermitian" or "skew-symmetric" where the other triangle can be restored bit for bit, else "general".
std::string_view symmetryOf(const Value& value)
{
    if (value.rows() != value.columns() || value.rows() < 2) {
        return "general";
    }
    const Value other = transposed(value, false);
    if (sameBytes(value, other)) {
        return "symmetric";
    }
    const bool floating = value.classId() == kxDOUBLE_CLASS || value.classId() == kxSINGLE_CLASS;
    if (floating && value.isComplex() && sameBytes(value, transposed(value, true))) {
        return "hermitian";
    }
    const bool skew = floating && !value.isComplex() &&
                      sameBytes(value, operate(BinaryOperator::kMultiply, Value::number(-1), other));
    return skew ? "skew-symmetric" : "general";
}

/// Calls write(k, row, column) for each stored value, or element, that is to be written.
template <typename Write>
void forEachWritten(const Value& value, std::string_view symmetry, Write write)
{
    const bool lower = symmetry != "general";
    const unsigned offset = symmetry == "skew-symmetric" ? 1 : 0;
    for (unsigned j = 0; j < value.columns(); ++j) {
        forEachInColumn(value, j, [&](unsigned row, std::size_t k) {
            if (!lower || row >= j + offset) {
                write(k, row, j);
            }
        });
    }
}

template <typename T>
void writeValues(Writer& writer, const Progress& progress, const Value& value, std::string_view symmetry)
{
    const T* re = value.data<T>();
    const T* im = value.imagData<T>();
    const bool places = value.isSparse();
    const bool values = !places || !std::is_same_v<T, bool>;
    std::size_t done = 0;
    forEachWritten(value, symmetry, [&](std::size_t k, unsigned row, unsigned column) {
        progress.step(done++);
        if (places) {
            writer.put(row + 1, ' ', column + 1);
        }
        if (values) {
            writer.put(places ? " " : "", written(re[k]));
        }
        if (im != nullptr) {
            writer.put(' ', written(im[k]));
        }
        writer.put('\n');
    });
}

} // namespace

void writeMatrixMarket(const std::filesystem::path& path, const Value& array)
{
    const Value value = elementsOf(array);
    const kxClassID id = value.classId();
    require(id != kxCHAR_CLASS, "kxsh:arguments", "mmwrite writes numbers, not strings");
    const std::string_view symmetry = symmetryOf(value);
    std::size_t count = 0;
    forEachWritten(value, symmetry, [&count](std::size_t, unsigned, unsigned) { ++count; });
    OutputFile file(path);
    Writer writer(file);
    writer.put("%%MatrixMarket matrix ", value.isSparse() ? "coordinate " : "array ", fieldOf(value), ' ', symmetry,
               '\n');
    if (id != kxDOUBLE_CLASS && fieldOf(value) != "pattern") {
        writer.put(kClassNote, ' ', className(id), '\n');
    }
    writer.put(value.rows(), ' ', value.columns());
    if (value.isSparse()) {
        writer.put(' ', count);
    }
    writer.put('\n');
    const Progress progress("writing", path, count);
    withElementType(id, [&]<typename T>(std::type_identity<T>) {
        if constexpr (!std::is_same_v<T, char16_t>) {
            writeValues<T>(writer, progress, value, symmetry);
        }
    });
    writer.flush();
    file.commit();
}

} // namespace kxsh
