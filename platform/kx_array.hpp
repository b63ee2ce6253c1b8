// The runtime's array library (libkx), as far as this library calls it.
//
// Sizes, counts and indices are unsigned 32-bit. "Raises" means that the call leaves by the runtime's own error
// mechanism (an exception) and has changed nothing.
#ifndef KX_ARRAY_HPP
#define KX_ARRAY_HPP

#include <cstddef>

#define KX_EXPORT __attribute__((visibility("default")))

namespace fl::except {
class IUserException;
}

/// Element classes. A stored class id above 16 means that the array must be asked (_get_class_id_non_trivial).
enum kxClassID : unsigned
{
    kxUNKNOWN_CLASS = 0,
    kxLOGICAL_CLASS = 3,
    kxCHAR_CLASS = 4,
    kxDOUBLE_CLASS = 6,
    kxSINGLE_CLASS = 7,
    kxINT8_CLASS = 8,
    kxUINT8_CLASS = 9,
    kxINT16_CLASS = 10,
    kxUINT16_CLASS = 11,
    kxINT32_CLASS = 12,
    kxUINT32_CLASS = 13,
    kxINT64_CLASS = 14,
    kxUINT64_CLASS = 15
};

enum kxComplexity : unsigned
{
    kxREAL = 0,
    kxCOMPLEX = 1
};

/// Where an array lives. An empty literal held inside another value (kxELEMENT_SCOPE) is an ordinary empty array,
/// no longer the mark of a deletion.
enum kxVariableScope : unsigned
{
    kxTEMPORARY_SCOPE = 0,
    kxELEMENT_SCOPE = 3
};

/// The runtime's two standard subscript errors.
enum kxSubscriptErrorCode : int
{
    kxSUBSCRIPT_NOT_POSITIVE_INTEGER = 1,
    kxSUBSCRIPT_OUT_OF_RANGE = 2
};

/// Bits of kxArray::flags.
enum kxArrayFlag : unsigned
{
    kxFLAG_EMPTY_LITERAL = 0x4, ///< the literal []
    kxFLAG_SPARSE = 0x20,
    kxFLAG_COLON_OBJECT = 0x80,    ///< a lazily stored start:step:stop, or the bare colon
    kxFLAG_MAY_BE_COMPLEX = 0x200, ///< complex exactly when `pi` is non-null as well
};

/// The runtime's array object. Arrays are made and destroyed by the runtime alone.
///
/// A sparse array is m-by-n in compressed columns: the entries of column j are jc[j] .. jc[j+1]-1, entry e lies in
/// row ir[e] (0-based, strictly increasing within a column) and has the value pr[e] (+ i*pi[e]); jc[0] = 0 and
/// jc[n] is the number of stored entries, at most nzmax. A full array holds its elements in column order.
class KX_EXPORT kxArray
{
  public:
    kxClassID class_id;    ///< the element class as stored, see _get_class_id_non_trivial()
    kxVariableScope scope; ///< the header word after the class id
    unsigned flags;        ///< kxArrayFlag bits
    unsigned ndims;        ///< number of dimensions, at least 2
    unsigned nzmax;        ///< capacity of pr, pi and ir in entries (sparse arrays)
    void* pr;              ///< real parts
    void* pi;              ///< imaginary parts, or null
    unsigned* ir;          ///< row index of each entry (sparse arrays)
    unsigned* jc;          ///< column starts, n + 1 words (sparse arrays)

    /// `ndims` words; element 0 is m. Valid until the dimensions change.
    [[nodiscard]] const unsigned* get_dimensions() const;
    /// Whether this is the bare colon.
    [[nodiscard]] bool is_colon_index() const;
    /// The element class where the stored one is above 16.
    [[nodiscard]] kxClassID _get_class_id_non_trivial() const;

    kxArray(const kxArray&) = delete;
    kxArray& operator=(const kxArray&) = delete;

  protected:
    kxArray() = default;
    ~kxArray() = default;
};

namespace matrix::detail::noninlined::kx_array_api {

// ---- Inspection (nothing raised unless stated) ----

/// Number of columns; of an N-dimensional array, the product of all dimensions but the first.
KX_EXPORT unsigned kxGetN(const kxArray* array);
/// Product of the dimensions, saturating at the maximum number of elements.
KX_EXPORT unsigned kxGetNumberOfElements(const kxArray* array);
/// Stored entries of a sparse array; number of elements of a full one.
KX_EXPORT unsigned kxGetNumNonZeroEl(const kxArray* array);
/// Bytes per element of pr.
KX_EXPORT unsigned kxGetElementSize(const kxArray* array);
/// Whether some dimension is 0.
KX_EXPORT bool kxIsEmpty(const kxArray* array);
/// Whether the array is 1-by-1.
KX_EXPORT bool kxIsScalar(const kxArray* array);
/// First element converted to double; 0 where a sparse array stores none there. Raises for an array without elements.
KX_EXPORT double kxGetScalar(const kxArray* array);
/// The bytes of a full logical array, owned by the array.
KX_EXPORT bool* kxGetLogicals(const kxArray* array);
/// Start, step and stop of a colon object.
KX_EXPORT void kxGetColonObjValues(const kxArray* colonObject, double values[3]);
/// The largest element count, and so the largest subscript value, that the runtime allows.
KX_EXPORT unsigned kxGetMaxNumberOfElements();

// ---- Size checks ----

/// Whether m*n elements of `elementSize` bytes are within the runtime's limits. Stores m*n in a non-null `product`,
/// or the maximum number of elements when the answer is false.
KX_EXPORT bool kxCheckMN_nothrow(unsigned m, unsigned n, unsigned elementSize, unsigned* product);
/// Whether m*n can bound a linear index; stores m*n in a non-null `product` then.
KX_EXPORT bool kxCheckMNForIndexing_nothrow(unsigned m, unsigned n, unsigned* product);
/// a*b*c; raises the runtime's size error when it does not fit 32 bits.
KX_EXPORT unsigned kxCheckMN(unsigned a, unsigned b, unsigned c);
/// A 1-based subscript value truncated to an index; 0 for NaN, infinities and values below 1. Raises the runtime's
/// size error for a finite value above the maximum number of elements.
KX_EXPORT unsigned kxCheckIndex(double value);
/// Whether a right-hand side of mB-by-nB fits a region of *mI-by-*nJ. With `rowsFollowB` the region takes its row
/// count from B first, with a non-null and true `columnsFollowB` its column count; the counts are updated. Non-zero
/// when B is 1-by-1, has the region's shape, is a vector as long as a vector region, or both are empty.
KX_EXPORT int kxMatch2DIndicesForIndexedAssignment(unsigned* mI, unsigned* nJ, unsigned mB, unsigned nB,
                                                   bool rowsFollowB, bool* columnsFollowB);

// ---- Ranges ----

/// start:step:stop as new 1-based signed values, not range-tested; a fraction is delivered as 0. The caller frees
/// the block with kxFree, also when *count is 0.
KX_EXPORT int* kxSignedIndexColonop(double start, double step, double stop, unsigned* count);
/// start:step:stop as a new full 1-by-count array of class `id`, owned by the caller.
KX_EXPORT kxArray* kxColonop(double start, double step, double stop, kxClassID id);

// ---- Creation (new arrays belong to the caller; raise on exhausted memory and impossible sizes) ----

/// m-by-n sparse array with uninitialised ir, pr (and pi when complex) of nzmax entries and a zeroed jc of n + 1 words.
KX_EXPORT kxArray* kxCreateSparseNumericMatrix(unsigned m, unsigned n, unsigned nzmax, kxClassID id,
                                               kxComplexity complexity);
/// m-by-n full double array of zeros.
KX_EXPORT kxArray* kxCreateDoubleMatrix(unsigned m, unsigned n, kxComplexity complexity);
/// 0-by-0 array of the same class and sparsity.
KX_EXPORT kxArray* kxCreateEmptyCopy(const kxArray* array);
/// An array of its own whose data blocks are those of `array`; a block lives until its last holder frees it.
KX_EXPORT kxArray* kxCreateSharedDataCopy(const kxArray* array);
/// An independent copy, capacity included.
KX_EXPORT kxArray* kxCreateDeepCopy(const kxArray* array);
KX_EXPORT kxArray* kxDuplicateArray(const kxArray* array);
/// The transpose (without conjugation) of a full or sparse matrix.
KX_EXPORT kxArray* kxTranspose(const kxArray* array);

// ---- Conversion: the argument itself where nothing needs to change, else a new array owned by the caller ----

/// Elements converted to class `id`: rounded to nearest and saturated for integer classes; non-zero is true.
/// Sparse stays sparse, without the entries that become zero. Raises for NaN to logical.
KX_EXPORT kxArray* kxMustBe(const kxArray* array, kxClassID id);
/// Sparse storage of the same class, zeros dropped.
KX_EXPORT kxArray* kxMustBeSparse(const kxArray* array);
/// Full storage of the same class; a colon object becomes its values.
KX_EXPORT kxArray* kxMustBeFull(const kxArray* array);

// ---- Changing an array ----

/// Moves the whole content of `src` (class, scope, dimensions, flags, data) into `dst`, whose old content is freed.
/// `src` is consumed. Nothing raised.
KX_EXPORT void kxMoveArrayOntoHeader(kxArray* dst, kxArray* src);
/// Frees the array and its hold on its blocks; null is allowed.
KX_EXPORT void kxDestroyArray(kxArray* array);
/// Frees pi when every imaginary value (of a sparse array: of the stored entries) is zero.
KX_EXPORT void kxFreeImagIfZero(kxArray* array);
KX_EXPORT void kxSetArrayScope(kxArray* array, kxVariableScope scope);

// Setters replace a dimension or a pointer; the block that was there before is the caller's to free.
KX_EXPORT void kxSetM(kxArray* array, unsigned m);
KX_EXPORT void kxSetN(kxArray* array, unsigned n);
/// Returns 0 on success, 1 when the dimensions cannot be stored (array unchanged).
KX_EXPORT int kxSetDimensions(kxArray* array, const unsigned* dims, unsigned ndims);
KX_EXPORT void kxSetData(kxArray* array, void* pr);
/// Installing a non-null imaginary part also sets kxFLAG_MAY_BE_COMPLEX.
KX_EXPORT void kxSetImagData(kxArray* array, void* pi);
KX_EXPORT void kxSetPi(kxArray* array, double* pi);
KX_EXPORT void kxSetIr(kxArray* array, unsigned* ir);
KX_EXPORT void kxSetJc(kxArray* array, unsigned* jc);

// ---- Memory: blocks that arrays can hold. A size of 0 gives a block of its own, never null. ----

/// Raise on failure.
KX_EXPORT void* kxMalloc(std::size_t size);
KX_EXPORT void* kxCalloc(std::size_t count, std::size_t size);
/// A null block allocates. On failure the old block stays as it was.
KX_EXPORT void* kxRealloc(void* block, std::size_t size);
/// Null is allowed. A block held by several arrays is released by its last holder.
KX_EXPORT void kxFree(void* block);
/// Null on failure.
KX_EXPORT void* kxMallocEx(std::size_t size);
KX_EXPORT void* kxCallocEx(std::size_t count, std::size_t size);
KX_EXPORT void kxFreeEx(void* block);
/// Raise the runtime's out-of-memory error on failure.
KX_EXPORT void* kxCallocExCheck(std::size_t count, std::size_t size);
KX_EXPORT void* kxReallocExCheck(void* block, std::size_t size);

// ---- Errors ----

/// Raises the standard subscript error of this code.
KX_EXPORT void kxHandleSubscriptError(kxSubscriptErrorCode code);
/// May be missing. Every export hands its sparse operands to it before anything else; a runtime that checks them raises
/// for one that breaks the promises of kxArray.
[[gnu::weak]] KX_EXPORT void kxCheckOperand(const kxArray* array);
/// Raises the runtime's own error for a user exception; may return where the runtime leaves that to the caller.
KX_EXPORT void do_legacy_kx_error(const fl::except::IUserException& error);

} // namespace matrix::detail::noninlined::kx_array_api

#endif
