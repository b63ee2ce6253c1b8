// Random calls of every export: one list that the long sequences and the table of allocation faults are driven by, so
// that an export added to it is met by both.
#ifndef ZQSP_TESTS_SYSTEM_ANY_OPERATION_HPP
#define ZQSP_TESTS_SYSTEM_ANY_OPERATION_HPP

#include "support/generators.hpp"

#include <ostream>
#include <vector>

namespace zqsp::test {

/// Every export that takes a sparse array, with its name.
struct NamedExport
{
    Export callee;
    const char* name;
};

inline std::ostream& operator<<(std::ostream& out, const NamedExport& tested)
{
    return out << tested.name;
}

inline const std::vector<NamedExport>& everyExport()
{
    static const std::vector<NamedExport> all = {{Export::Ref2, "spRef2"},
                                                 {Export::Ref3, "spRef3"},
                                                 {Export::Ref4, "spRef4"},
                                                 {Export::Ref5, "spRef5"},
                                                 {Export::Ref6, "spRef6"},
                                                 {Export::ReferenceByLists, "kxSparseReference"},
                                                 {Export::ReferenceByRanges, "kxSparseColonReference"},
                                                 {Export::Ass3, "spAss3"},
                                                 {Export::Ass4, "spAss4"},
                                                 {Export::Ass5, "spAss5"},
                                                 {Export::Ass6, "spAss6"},
                                                 {Export::DeleteColumns, "spDeleteColumns"},
                                                 {Export::DeleteRows, "spDeleteRows"},
                                                 {Export::DeleteElements, "spDeleteElements"},
                                                 {Export::Reshape, "spReshape"}};
    return all;
}

/// A target for this export: a matrix, for assignments also one without a class or without elements.
Model drawTarget(Export callee);

/// A call of this export on `a`, drawn while a property runs; one subscript in eight fails if `mayFail`.
Operation drawOperation(Export callee, const Model& a, bool mayFail);

/// A maximum number of elements about the size of the target, within which any operand of the call can be converted.
unsigned drawMaximum(const Operation& operation);

} // namespace zqsp::test

#endif
