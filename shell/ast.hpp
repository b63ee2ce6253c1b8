// Parsed statements.
#ifndef KXSH_AST_HPP
#define KXSH_AST_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kxsh {

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

struct NumberNode
{
    double value;
    bool imaginary;
};

struct StringNode
{
    std::string text;
};

/// A variable, or a function called without arguments.
struct NameNode
{
    std::string name;
};

/// The bare colon of a subscript.
struct ColonNode
{
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

struct BinaryNode
{
    BinaryOperator op;
    ExpressionPtr left;
    ExpressionPtr right;
};

struct NegateNode
{
    ExpressionPtr operand;
};

struct NotNode
{
    ExpressionPtr operand;
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
};

struct Expression
{
    std::variant<NumberNode, StringNode, NameNode, ColonNode, EndNode, MatrixNode, RangeNode, BinaryNode, NegateNode,
                 NotNode, TransposeNode, ApplyNode>
        node;
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

/// help or help TOPIC.
struct HelpStatement
{
    std::string topic;
};

struct QuitStatement
{
};

struct BreakStatement
{
};

struct ContinueStatement
{
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

/// for name = values: the variable takes one column after another.
struct ForStatement
{
    std::string name;
    ExpressionPtr values;
    Block body;
};

struct WhileStatement
{
    ExpressionPtr condition;
    Block body;
};

struct Statement
{
    std::variant<ExpressionStatement, AssignStatement, HelpStatement, QuitStatement, BreakStatement, ContinueStatement,
                 IfStatement, ForStatement, WhileStatement>
        action;
    bool prints = true; ///< no semicolon follows
    std::size_t offset; ///< its first byte in the source
    std::string source; ///< its text, first line only
};

} // namespace kxsh

#endif
