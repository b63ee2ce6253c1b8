// Parsed statements.
#ifndef KXSH_AST_HPP
#define KXSH_AST_HPP

#include "value.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kxsh {

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;
using Expressions = std::vector<ExpressionPtr>;

enum class BinaryOperator
{
    kAdd,
    kSubtract,
    kMultiply,     ///< the matrix product, unless one side is a number
    kDivide,       ///< by a number
    kSolve,        ///< A \ B
    kPower,        ///< of two numbers
    kMultiplyEach, ///< element by element, as all that follow
    kDivideEach,
    kPowerEach,
    kEqual,
    kNotEqual,
    kLess,
    kLessEqual,
    kGreater,
    kGreaterEqual,
    kAnd,
    kOr
};

/// How an operator is written and binds; lower levels bind less.
struct Infix
{
    std::string_view symbol;
    BinaryOperator op;
    int level;
};

constexpr int kRangeLevel = 3; ///< of start:step:stop
constexpr int kPowerLevel = 6;
constexpr Infix kInfixes[] = {{"|", BinaryOperator::kOr, 0},
                              {"&", BinaryOperator::kAnd, 1},
                              {"==", BinaryOperator::kEqual, 2},
                              {"~=", BinaryOperator::kNotEqual, 2},
                              {"<", BinaryOperator::kLess, 2},
                              {"<=", BinaryOperator::kLessEqual, 2},
                              {">", BinaryOperator::kGreater, 2},
                              {">=", BinaryOperator::kGreaterEqual, 2},
                              {"+", BinaryOperator::kAdd, 4},
                              {"-", BinaryOperator::kSubtract, 4},
                              {"*", BinaryOperator::kMultiply, 5},
                              {"/", BinaryOperator::kDivide, 5},
                              {"\\", BinaryOperator::kSolve, 5},
                              {".*", BinaryOperator::kMultiplyEach, 5},
                              {"./", BinaryOperator::kDivideEach, 5},
                              {"^", BinaryOperator::kPower, kPowerLevel},
                              {".^", BinaryOperator::kPowerEach, kPowerLevel}};

/// What an expression is, and what its parts are.
enum class Kind : unsigned char
{
    kLiteral,   ///< `value`: a number, a string, or the bare colon of a subscript
    kName,      ///< a variable, or a function called without arguments
    kEnd,       ///< `end` inside a subscript
    kMatrix,    ///< [a, b; c, d]: rows; none for []
    kRow,       ///< of a matrix: its elements
    kRange,     ///< start:stop, or start:step:stop
    kBinary,    ///< two operands of `op`
    kTranspose, ///< the operand
    kConjugate, ///< the same, of the conjugate transpose
    kApply,     ///< the arguments of `name`, a variable or function; without a name, behind what they are applied to
    kCommand    ///< the arguments of the function `name`, whatever variables there are
};

struct Expression
{
    Kind kind;
    std::size_t offset; ///< the byte of the source that an error of this node points at
    Expressions parts{};
    Value value{};
    std::string name{};
    BinaryOperator op{};
    int height = 1; ///< nodes on the longest way down to a leaf
};

/// What stands left of '=': name or name(subscripts).
struct Target
{
    std::string name;
    bool subscripted = false;
    Expressions subscripts;
};

/// target = value, or [target, target] = value with as many results; `deletes` for name(subscripts) = [].
struct AssignStatement
{
    std::vector<Target> targets;
    ExpressionPtr value;
    bool deletes = false;
};

/// How a statement ends. As a statement: break, continue or quit.
enum class Flow
{
    kOn,
    kBreak,
    kContinue,
    kQuit
};

struct Statement;
using Block = std::vector<Statement>;

/// if and elseif in their order; the condition of else is null.
struct IfStatement
{
    struct Branch
    {
        ExpressionPtr condition;
        Block body;
    };
    std::vector<Branch> branches;
};

/// for name = values: the variable takes one column after another; or while condition.
struct LoopStatement
{
    std::string name; ///< empty for while
    ExpressionPtr control;
    Block body;
};

struct Statement
{
    std::variant<ExpressionPtr, AssignStatement, Flow, IfStatement, LoopStatement> action;
    bool prints = true; ///< no semicolon follows
    std::size_t offset; ///< its first byte in the source
    std::string source; ///< its text, first line only
};

} // namespace kxsh

#endif
