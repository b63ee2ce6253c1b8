#include "matrix_market.hpp"

#include "error.hpp"
#include "files.hpp"
#include "interrupt.hpp"

#include <fmt/compile.h>
#include <fmt/format.h>

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
        (one(parts), ...);
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

    void one(char c) { buffer_.push_back(c); }
    void one(std::string_view text) { buffer_.append(text); }
    void one(bool value) { buffer_.push_back(value ? '1' : '0'); }
    template <typename T>
    void one(T value)
    {
        if constexpr (std::is_same_v<T, float>) {
            one(static_cast<double>(value)); // its decimal digits must give the same number in double precision
        } else {
            fmt::format_to(std::back_inserter(buffer_), FMT_COMPILE("{}"), value);
        }
    }

    OutputFile& file_;
    fmt::memory_buffer buffer_;
};

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

template <typename T>
void writeEntries(Writer& writer, const Value& value)
{
    const T* re = value.data<T>();
    const T* im = value.imagData<T>();
    const bool pattern = std::is_same_v<T, bool>;
    for (unsigned j = 0; j < value.columns(); ++j) {
        for (unsigned k = value.starts()[j]; k < value.starts()[j + 1]; ++k) {
            writer.put(value.rowIndices()[k] + 1, ' ', j + 1);
            if (!pattern) {
                writer.put(' ', re[k]);
            }
            if (im != nullptr) {
                writer.put(' ', im[k]);
            }
            writer.put('\n');
        }
    }
}

template <typename T>
void writeElements(Writer& writer, const Value& value)
{
    const T* re = value.data<T>();
    const T* im = value.imagData<T>();
    for (std::size_t i = 0; i < value.count(); ++i) {
        writer.put(re[i]);
        if (im != nullptr) {
            writer.put(' ', im[i]);
        }
        writer.put('\n');
    }
}

} // namespace

void writeMatrixMarket(const std::filesystem::path& path, const Value& array)
{
    const Value value = elementsOf(array);
    if (value.classId() == kxCHAR_CLASS) {
        throw Error("kxsh:arguments", "mmwrite writes numbers, not strings");
    }
    OutputFile file(path);
    Writer writer(file);
    writer.put(std::string_view("%%MatrixMarket matrix "),
               std::string_view(value.isSparse() ? "coordinate " : "array "), fieldOf(value),
               std::string_view(" general\n"), value.rows(), ' ', value.columns());
    if (value.isSparse()) {
        writer.put(' ', value.entries());
    }
    writer.put('\n');
    withElementType(value.classId(), [&]<typename T>(std::type_identity<T>) {
        if constexpr (!std::is_same_v<T, char16_t>) {
            value.isSparse() ? writeEntries<T>(writer, value) : writeElements<T>(writer, value);
        }
    });
    writer.flush();
    file.commit();
}

} // namespace kxsh
