// What the embedded runtime offers beyond the array library that zqspmatrix calls: creation of operands, and
// control over memory, limits and errors for embedding programs and tests.
#ifndef KX_RUNTIME_HPP
#define KX_RUNTIME_HPP

#include <kx_array.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace matrix::detail::noninlined::kx_array_api {

/// Zeroed full array of class 3, 4 or 6..15 with `ndims` (at least 2) dimensions; raises kx:invalidOperand for other
/// classes and for complex logical or char, kx:sizeLimit for impossible sizes.
KX_EXPORT kxArray* kxCreateNumericArray(unsigned ndims, const unsigned* dims, kxClassID id, kxComplexity complexity);
/// Lazily stored range start:step:stop; its dimensions are 1 by count.
KX_EXPORT kxArray* kxCreateColonObject(double start, double step, double stop);
/// The bare colon.
KX_EXPORT kxArray* kxCreateColon();
/// The literal []: 0-by-0 double with kxFLAG_EMPTY_LITERAL.
KX_EXPORT kxArray* kxCreateEmptyLiteral();
/// A target without a value: class id 0, 0-by-0, full.
KX_EXPORT kxArray* kxCreateUnset();

/// The first promise that a sparse array breaks ("entry 5 of column 2 lies in row 9 of 4"; entries 0-based, rows and
/// columns 1-based); empty for a sound one. For arrays filled with data from outside: the library itself trusts its
/// operands, and reads and writes where broken ones point. Blocks must hold as many entries as nzmax says. Cost: nnz +
/// n.
KX_EXPORT std::string kxCheckSparse(const kxArray* array);

} // namespace matrix::detail::noninlined::kx_array_api

namespace kxrt {

/// Blocks handed out by the allocator and not yet freed, array headers included.
KX_EXPORT std::size_t live_blocks();
/// The n-th allocation or reallocation from now (1 = the next) fails once; a negative n turns it off.
KX_EXPORT void fail_allocation_after(long n);
/// Allocations and reallocations asked for so far.
KX_EXPORT long allocations();
/// The bytes asked for by those that were not refused at the door (by fail_allocation_after or set_largest_block); for
/// a block that is to have another size, the difference.
KX_EXPORT std::size_t bytes_requested();
/// How often the system was asked for a fresh mapping; all other large blocks came out of those kept.
KX_EXPORT long fresh_mappings();
/// Gives back what is kept for later requests: large blocks, and the calling thread's small ones.
KX_EXPORT void release_kept_blocks();
/// A request for more bytes than that fails from now on; 2^36 at the start and at most.
KX_EXPORT void set_largest_block(std::size_t bytes);
/// How many values a colon object stands for. Its dimensions stop at the maximum number of elements; this does not (and
/// may be infinite). Raises kx:invalidOperand for the bare colon.
KX_EXPORT double range_count(const kxArray* colonObject);
/// What kxGetMaxNumberOfElements() answers from now on; 0x7FFFFFFF at the start.
KX_EXPORT void set_max_number_of_elements(unsigned limit);
/// Whether do_legacy_kx_error throws (at the start it does) or returns.
KX_EXPORT void legacy_errors_raise(bool raise);
/// Whether every export checks its sparse operands by kxCheckSparse() and raises kx:invalidOperand for a broken one; at
/// the start it does so in debug builds (-DZQSP_CHECK_OPERANDS). Returns what held before. Cost: nnz + n of each
/// operand, in each call.
KX_EXPORT bool check_operands(bool check);
/// Makes the stored class id a value above 16, so that _get_class_id_non_trivial must be asked.
KX_EXPORT void hide_class(kxArray* array);

/// Whether some data block of the array is held by another array too. Such an array must be made private before it
/// is changed in place.
KX_EXPORT bool is_shared(const kxArray* array);
/// Gives the array blocks of its own where it shares them (copy on demand). Raises kx:outOfMemory, array unchanged.
KX_EXPORT void make_private(kxArray* array);

/// What the runtime throws.
class KX_EXPORT Error : public std::runtime_error
{
  public:
    Error(std::string identifier, const std::string& text);
    Error(const Error&) = default;
    Error& operator=(const Error&) = default;
    ~Error() noexcept override;

    /// "kx:sizeLimit", "kx:outOfMemory", "kx:invalidOperand", "kx:subscript:notPositiveInteger",
    /// "kx:subscript:outOfRange", or the identifier of the user exception it stands for.
    [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  private:
    std::string identifier_;
};

} // namespace kxrt

#endif
