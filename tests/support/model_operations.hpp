// What each export must give, on models: no speed, no cleverness, every rule spelled out once. A call that must
// fail throws Failure. The result's nzmax is the one the library promises, or kAnyCapacity where the runtime decides.
//
//     Model r = refRows(a, Subscript::list({3, 1, 3}));
//     Model grown = assignLinear(a, RightSide::scalar(5), Subscript::list({9}));
#ifndef ZQSP_TESTS_SUPPORT_MODEL_OPERATIONS_HPP
#define ZQSP_TESTS_SUPPORT_MODEL_OPERATIONS_HPP

#include "support/model.hpp"
#include "support/right_side.hpp"
#include "support/subscript.hpp"

namespace zqsp::test {

// ---- Shapes ----

/// Whether m*n elements can be counted within the runtime's limits.
bool isCountable(std::uint64_t m, std::uint64_t n);
bool isReshape(unsigned m, unsigned n, unsigned newM, unsigned newN);
/// spReshape: the same linear positions in another shape.
Model reshaped(const Model& a, unsigned newM, unsigned newN);

// ---- Reference (model_reference.cpp) ----

/// The rule that chooses the row map over the search for k selected rows.
bool usesRowMap(const Model& a, unsigned k);

Model refAll(const Model& a);                                             ///< spRef2
Model refLinear(const Model& a, const Subscript& k);                      ///< spRef3
Model refColumns(const Model& a, const Subscript& j);                     ///< spRef4
Model refRows(const Model& a, const Subscript& i);                        ///< spRef5
Model refGeneral(const Model& a, const Subscript& i, const Subscript& j); ///< spRef6
/// kxSparseReference; the lists are given 1-based, the bare colon stands for a null list.
Model refByLists(const Model& a, const Subscript& rows, const Subscript& columns);
/// kxSparseColonReference; both subscripts are ranges of whole numbers.
Model refByRanges(const Model& a, const Subscript& rows, const Subscript& columns);

// ---- Deletion (model_delete.cpp) ----

Model deleteColumns(const Model& a, const Subscript& j);  ///< spDeleteColumns
Model deleteRows(const Model& a, const Subscript& i);     ///< spDeleteRows
Model deleteElements(const Model& a, const Subscript& k); ///< spDeleteElements

// ---- Assignment (model_assign_linear.cpp, model_assign_region.cpp) ----

/// The value of an index that is converted by itself, 1-based; throws Failure unless it is a good one.
void checkIndex(double value);

Model assignLinear(const Model& a, const RightSide& b, const Subscript& k);                      ///< spAss3
Model assignColumns(const Model& a, const RightSide& b, const Subscript& j);                     ///< spAss4
Model assignRows(const Model& a, const RightSide& b, const Subscript& i);                        ///< spAss5
Model assignGeneral(const Model& a, const RightSide& b, const Subscript& i, const Subscript& j); ///< spAss6

} // namespace zqsp::test

#endif
