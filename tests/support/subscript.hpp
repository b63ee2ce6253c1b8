// Subscripts of the tests: one description that can be built as a runtime array and converted, independently of
// the library, into 0-based positions or the failure that the library must report.
//
//     Subscript k = Subscript::list({3, 1, 3}).as(kxUINT8_CLASS);
//     Array array = toArray(k);
//     Positions p = convert(k, extent, Purpose::Reference);    // {2, 0, 2}, or throws Failure
#ifndef ZQSP_TESTS_SUPPORT_SUBSCRIPT_HPP
#define ZQSP_TESTS_SUPPORT_SUBSCRIPT_HPP

#include "support/model.hpp"

#include <zqspmatrix.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace zqsp::test {

/// How a call fails: by a status, or by a thrown error's identifier. The models throw it.
struct Failure
{
    spStatus status = spOK;
    std::string thrown;

    Failure() = default;
    Failure(spStatus returned) : status(returned) {}
    Failure(const char* identifier) : thrown(identifier) {}
    bool operator==(const Failure&) const = default;
};

inline constexpr const char* kMaxSizeError = "ZENTAR:legacy_two_part:pmaxsize";
inline constexpr const char* kColonMismatchError = "ZENTAR:legacy_two_part:colon_index_assign_element_count_mismatch";
inline constexpr const char* kTooLargeError = "ZENTAR:sparse:tooLargeForLinearIndex";
inline constexpr const char* kSizeLimitError = "kx:sizeLimit";
inline constexpr const char* kOutOfMemoryError = "kx:outOfMemory";
inline constexpr const char* kInvalidOperandError = "kx:invalidOperand";
inline constexpr const char* kNotPositiveIntegerError = "kx:subscript:notPositiveInteger";
inline constexpr const char* kOutOfRangeError = "kx:subscript:outOfRange";

enum class Form
{
    Numeric,       ///< full array of any class 4, 6..15
    SparseNumeric, ///< sparse array of such a class; a value of 0 is not stored, unless told
    Mask,          ///< full logical
    SparseMask,    ///< sparse logical
    Range,         ///< colon object
    Colon          ///< the bare colon
};
inline constexpr Form kEveryForm[] = {Form::Numeric,    Form::SparseNumeric, Form::Mask,
                                      Form::SparseMask, Form::Range,         Form::Colon};

struct Subscript
{
    Form form = Form::Numeric;
    kxClassID classId = kxDOUBLE_CLASS;
    bool complex = false;     ///< Numeric, SparseNumeric: with an imaginary part of zeros
    bool storesFalse = false; ///< SparseMask: every stored value is false (it selects all the same)
    unsigned m = 1;
    unsigned n = 0;
    std::vector<double> values = {}; ///< Numeric, SparseNumeric, Mask: the m*n elements, 1-based (masks: 0 and 1)
    std::vector<Place> stored = {};  ///< SparseMask: the stored places, sorted; SparseNumeric: those of explicit zeros
    double start = 1;                ///< Range
    double step = 1;
    double stop = 0;

    /// A row of values; shaped() and as() change shape and class.
    static Subscript list(std::vector<double> values);
    static Subscript sparseList(std::vector<double> values);
    static Subscript mask(std::vector<double> zerosAndOnes);
    static Subscript sparseMask(unsigned m, unsigned n, std::vector<Place> stored);
    static Subscript range(double start, double step, double stop);
    static Subscript colon();
    /// The sparse array `model` itself as a subscript: a mask when logical, else a numeric one.
    static Subscript ofModel(const Model& model);

    [[nodiscard]] Subscript shaped(unsigned rows, unsigned columns) const;
    [[nodiscard]] Subscript as(kxClassID id) const;

    /// SparseMask: stores this position, making the mask as wide as that takes.
    void store(std::uint64_t position);
    [[nodiscard]] bool isLogical() const { return form == Form::Mask || form == Form::SparseMask; }
    /// Entries that a sparse subscript stores.
    [[nodiscard]] std::size_t storedCount() const;
    /// Elements the array has; of a range, its number of values.
    [[nodiscard]] std::uint64_t numel() const;
};

/// A new array holding the subscript.
Array toArray(const Subscript& subscript);

enum class Purpose
{
    Reference,
    Deletion,
    Assignment ///< the limit is the runtime's maximum, the extent only says what the bare colon means
};

using Positions = std::vector<std::uint64_t>;

/// The 0-based positions a subscript names over `extent` places, in the order and with the repeats it has; masks
/// by ascending position. `countOverflowed`: the extent stands for an element count that does not fit 32 bits.
/// Throws Failure.
Positions convert(const Subscript& subscript, std::uint64_t extent, Purpose purpose, bool countOverflowed = false);

/// How many positions an assignment's subscript names; 1 where it cannot be converted.
unsigned namedBy(const Subscript& subscript, std::uint64_t extent);

/// Positions of a mask's true elements or stored entries, 0-based; not checked against anything.
Positions maskPositions(const Subscript& mask);
/// The values of start:step:stop as 64-bit floats. The parts of the range must be exactly representable.
std::vector<double> rangeValues(const Subscript& range);

std::ostream& operator<<(std::ostream& out, const Subscript& subscript);

} // namespace zqsp::test

#endif
