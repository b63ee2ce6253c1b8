/* Subscripted reference, assignment, deletion and reshape of sparse matrices in compressed columns.
 *
 * Every function has C linkage. A function that returns spStatus either completes (spOK), or returns the first
 * failing check and leaves its operands byte for byte as they were. Errors that no status can carry are thrown, and
 * leave the operands as they were too:
 *   memory      any call, where the runtime is out of memory: the runtime's own error (kx:outOfMemory in the embedded
 *               one), or fl::except::detail::legacy_bad_alloc_impl where no capacity can hold one more entry
 *   pmaxsize    any call whose result would have more than 2^32-1 entries, and where the function says so:
 *               fl::except::Exception<ZENTAR::legacy_two_part::pmaxsize, std::exception>
 *   size limit  the runtime's own error for a number of elements past its maximum (kx:sizeLimit in the embedded one):
 *               results with more rows, columns or bytes than it allows, and where the function says so
 * Other errors are named beside the function.
 *
 * Subscripts (K: linear, I: rows, J: columns) are 1-based runtime arrays: numeric of any class (full, or sparse
 * without zeros), logical masks (full or sparse), colon objects first:stride:last, or the bare colon.
 * Arrays handed in stay the caller's. In-place calls may be given the target itself, or an array that shares its
 * data, as subscript or right-hand side.
 *
 * m, n: rows and columns of A; nnz: its stored entries; k: number of subscripts; out: entries of the result. Ranges
 * and masks count as they are stored: a range for one, a mask by its bytes or its entries. Memory: beside the result,
 * what a call needs while it works; a list of k numbers takes a word for each where nothing else is said. */
#ifndef ZQSPMATRIX_H
#define ZQSPMATRIX_H

#define ZQSP_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
class kxArray;
#define ZQSP_ENUM_BASE : int
extern "C" {
#else
#include <stdbool.h>
typedef struct kxArray kxArray;
#define ZQSP_ENUM_BASE
#endif

/* Answer of every worker; kxHandleSparseSubscriptError() turns it into an error of the runtime. */
typedef enum spStatus ZQSP_ENUM_BASE
{
    spOK = 0,
    spIndexAssignCountMismatch = 1, /* A(K) = B: B has neither one element nor as many as K */
    spIndexBelowOne = 2,            /* a floating-point subscript below 1, or a sparse subscript holding zeros */
    spCannotResize = 3,             /* A(K) = B into a true matrix, past its last element */
    spIndexNotPositiveInteger = 4,  /* NaN, +Inf, a fraction, a complex subscript, an integer-class value below 1 */
    spIndexToRemoveOutOfRange = 5,  /* deleting past the extent */
    spEmptyAssignDisallowed = 6,    /* A(I,J) = [] */
    spCannotResizeToRowVector = 7,  /* A(K) = [] on a matrix with more elements than a row vector can have */
    spAssignDimMismatch = 8,        /* the shape of B does not fit the subscripts */
    spIndexOutOfRange = 9,          /* a subscript past the extent (reference, assignment) */
    spIndexExceedsMaxSize = 10      /* a subscript past the runtime's maximum number of elements */
} spStatus;

/* ---- Reference: *result becomes a new sparse array owned by the caller; untouched on failure. ---- */

/* A(:): all elements as one column, (m*n)-by-1, nzmax = nnz. Always spOK; throws
 * fl::except::Exception<ZENTAR::sparse::tooLargeForLinearIndex, std::exception> when m*n is no linear index. An
 * all-zero imaginary part is kept. Cost: n + nnz. Memory: none. */
ZQSP_EXPORT spStatus spRef2(const kxArray* A, kxArray** result);

/* A(K): nzmax is the exact count. Statuses 2, 4, 9, 10. A bare colon is spRef2, with its error. Throws pmaxsize for a
 * range that reaches past the last element of an A with more elements than can be counted, unless it has one value.
 * Cost: k log(entries of a column); ascending K: k + nnz at most. Memory: less than the result; for k positions in no
 * order, as many as the entries that they may meet, at most 8 bytes for each of these, 4 MB in all. */
ZQSP_EXPORT spStatus spRef3(const kxArray* A, const kxArray* K, kxArray** result);

/* A(:,J): m-by-k, nzmax is the exact count. Statuses 2, 4, 9, 10. Cost: k + out. Memory: none. */
ZQSP_EXPORT spStatus spRef4(const kxArray* A, const kxArray* J, kxArray** result);

/* A(I,:): k-by-n; nzmax exact with a row map, an upper bound with a search. Statuses 2, 4, 9, 10.
 * Cost: n + k + nnz + out, or n * k * log(entries of a column) where the rows are few; a table of all rows is made
 * only where it costs less than the entries do. Memory: m/4 bytes for rows that ascend and do not repeat, m + 1 words
 * and the entries of a column for others, 2 words for each entry of the result where the rows are few. */
ZQSP_EXPORT spStatus spRef5(const kxArray* A, const kxArray* I, kxArray** result);

/* A(I,J): nzmax as for spRef5. I is converted before J. Statuses 2, 4, 9, 10.
 * Cost and memory: as for spRef5, over the named columns; where many short ones are no neighbours, a copy of them,
 * which is no larger than A. */
ZQSP_EXPORT spStatus spRef6(const kxArray* A, const kxArray* I, const kxArray* J, kxArray** result);

/* Reference for the runtime's own code, by 0-based lists in any order, repeats allowed. A null list selects all
 * (rows null and cols null: no column at all). Returns a new array owned by the caller, complex whenever A is.
 * Raises kxHandleSparseSubscriptError(spIndexOutOfRange). */
ZQSP_EXPORT kxArray* kxSparseReference(const kxArray* A, const unsigned* rows, unsigned rowCount, const unsigned* cols,
                                       unsigned colCount);

/* The same by 1-based runs rowFirst:rowStride:rowLast and colFirst:colStride:colLast. Raises the errors of statuses 4
 * and 9. */
ZQSP_EXPORT kxArray* kxSparseColonReference(const kxArray* A, int rowFirst, int rowStride, int rowLast, int colFirst,
                                            int colStride, int colLast);

/* ---- Assignment, in place: the target grows to cover its subscripts. ---- */

/* A(K) = B, one index after another: the last of repeated indices wins. nzmax grows by ten entries at a time.
 * Statuses 1, 2, 3, 4, 10 and those of spDeleteElements for B = []. Throws
 * colon_index_assign_element_count_mismatch for A(:) = B, the runtime's subscript error 1 for a complex or
 * zero-holding sparse K, and the size limit for a finite index past the runtime's maximum.
 * Cost: k log k + nnz + n; a range costs the entries written. Memory: up to 37 bytes for each listed index that is
 * inserted, a word for one that is stored, the entries found for A(K) = 0. */
ZQSP_EXPORT spStatus spAss3(kxArray* A, const kxArray* B, const kxArray* K);

/* A(:,J) = B. Statuses 2, 4, 8, 9, 10 and those of spDeleteColumns for B = []. Throws pmaxsize where A would grow past
 * a quarter of the runtime's maximum of columns. Cost: n + nnz + nnz(B). Memory: B in the order of the columns, and a
 * patch of 28 bytes for each changed column. */
ZQSP_EXPORT spStatus spAss4(kxArray* A, const kxArray* B, const kxArray* J);

/* A(I,:) = B. Statuses 2, 4, 8, 9, 10 and those of spDeleteRows for B = []. Cost: n + k + nnz + nnz(B). Memory: as for
 * spAss4, and the rebuilt entries once. */
ZQSP_EXPORT spStatus spAss5(kxArray* A, const kxArray* B, const kxArray* I);

/* A(I,J) = B. Statuses 2, 4, 6, 8, 9, 10. Throws pmaxsize as spAss4, and where the named columns would hold more
 * entries than the runtime's maximum allows for; the size limit for a single finite index past that maximum.
 * Cost: entries of the named columns, entries that have to move, and the region's entries (+ log). Memory: as for
 * spAss5. */
ZQSP_EXPORT spStatus spAss6(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J);

/* ---- Deletion, in place: entries keep their blocks and nzmax stays, but for the colon, which empties A. ---- */

/* A(:,J) = []. Statuses 2, 4, 5, 10. Cost: n + entries that have to move. Memory: for a list that does not ascend. */
ZQSP_EXPORT spStatus spDeleteColumns(kxArray* A, const kxArray* J);

/* A(I,:) = []. Statuses 2, 4, 5, 10. Cost: n + k + nnz. Memory: m/4 bytes, none for neighbouring rows, and for few
 * entries in a high matrix a word for each listed row, none for a range. */
ZQSP_EXPORT spStatus spDeleteRows(kxArray* A, const kxArray* I);

/* A(K) = []: a column stays a column, everything else becomes a row. Statuses 2, 4, 5, 7, 10. Cost: nnz + k, and the
 * column starts of the row. Memory: these, and as for spDeleteColumns. */
ZQSP_EXPORT spStatus spDeleteElements(kxArray* A, const kxArray* K);

/* ---- Reshape ---- */

/* Whether an m-by-n matrix can be seen as newM-by-newN; right for every 32-bit shape. */
ZQSP_EXPORT bool spReshapeOk(unsigned m, unsigned n, unsigned newM, unsigned newN);

/* Reshapes A in place, column-major order kept. The shape must have passed spReshapeOk(). Cost: nnz + n + newN.
 * Memory: the new column starts. */
ZQSP_EXPORT void spReshape(kxArray* A, unsigned newM, unsigned newN);

/* ---- Errors and identity ---- */

/* Raises the runtime's error for a status; returns quietly for spOK and for values outside 1..10. */
ZQSP_EXPORT void kxHandleSparseSubscriptError(spStatus status);

/* "major.minor.patch.build". */
ZQSP_EXPORT extern const char* const libzqspmatrix_version;
/* The day of the build, such as "Jul 30 2015". */
ZQSP_EXPORT extern const char* const libzqspmatrix_build_date;

#ifdef __cplusplus
}
#endif

#undef ZQSP_ENUM_BASE

#endif
