// Random calls of every export, which drive the long sequences and the table of allocation faults.
#ifndef ZQSP_TESTS_SYSTEM_ANY_OPERATION_HPP
#define ZQSP_TESTS_SYSTEM_ANY_OPERATION_HPP

#include "support/generators.hpp"

namespace zqsp::test {

/// A target for this export: a matrix, or one that may be its own subscript; for assignments also one without a class
/// or without elements, for deletions also a full one.
Model drawTarget(Export callee, Storage storage);

/// A call of this export on `a`, drawn while a property runs; one subscript in eight fails if `mayFail`. A subscript
/// names up to `most` positions.
Operation drawOperation(Export callee, const Model& a, bool mayFail, unsigned most = 8);

/// A maximum number of elements about the size of the target, within which any operand of the call can be converted.
unsigned drawMaximum(const Operation& operation);

} // namespace zqsp::test

#endif
