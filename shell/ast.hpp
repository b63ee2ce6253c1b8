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

/// A number, a string, or the bare colon of a subscript.
struct LiteralNode
{
    Value value;
};

/// A variable, or a function called without arguments.
struct NameNode
{
    std::string name;
};

/// `end` inside a subscript.
struct EndNode
{
};

/// [a, b; c, d]; no rows for [].
struct MatrixNode
{
    std::vector<std::vector<ExpressionPtr>> rows;
};

/// start:stop (step is null) or start:step:stop.
struct RangeNode
{
    ExpressionPtr start;
    ExpressionPtr step;
    ExpressionPtr stop;
};

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

struct BinaryNode
{
    BinaryOperator op;
    ExpressionPtr left;
    ExpressionPtr right;
};

struct TransposeNode
{
    ExpressionPtr operand;
    bool conjugates;
};

/// target(arguments): a subscripted reference or a function call.
struct ApplyNode
{
    ExpressionPtr target;
    std::vector<ExpressionPtr> arguments;
    bool command = false; ///< a function, whatever variables there are
};

struct Expression
{
    std::variant<LiteralNode, NameNode, EndNode, MatrixNode, RangeNode, BinaryNode, TransposeNode, ApplyNode> node;
    std::size_t offset; ///< the byte of the source that an error of this node points at
    int height;         ///< nodes on the longest way down to a leaf
};

struct ExpressionStatement
{
    ExpressionPtr expression;
};

/// What stands left of '=': name or name(subscripts).
struct Target
{
    std::string name;
    bool subscripted = false;
    std::vector<ExpressionPtr> subscripts;
};

/// target = value, or [target, target] = value with as many results; `deletes` for name(subscripts) = [].
struct AssignStatement
{
    std::vector<Target> targets;
    ExpressionPtr value;
    bool deletes = false;
};

/// How a statement ends.
enum class Flow
{
    kOn,
    kBreak,
    kContinue,
    kQuit
};

/// break, continue or quit.
struct JumpStatement
{
    Flow flow;
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
    std::variant<ExpressionStatement, AssignStatement, JumpStatement, IfStatement, LoopStatement> action;
    bool prints = true; ///< no semicolon follows
    std::size_t offset; ///< its first byte in the source
    std::string source; ///< its text, first line only
};

} // namespace kxsh

#endif
