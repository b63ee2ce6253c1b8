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
    kMultiply,
    kDivide,
    kEqual,
    kNotEqual,
    kLess,
    kLessEqual,
    kGreater,
    kGreaterEqual
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

struct TransposeNode
{
    ExpressionPtr operand;
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
                 TransposeNode, ApplyNode>
        node;
};

struct ExpressionStatement
{
    ExpressionPtr expression;
};

/// name = value or name(subscripts) = value; `deletes` for name(subscripts) = [].
struct AssignStatement
{
    std::string name;
    bool subscripted = false;
    std::vector<ExpressionPtr> subscripts;
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

struct Statement
{
    std::variant<ExpressionStatement, AssignStatement, HelpStatement, QuitStatement> action;
    bool prints = true; ///< no semicolon follows
    std::size_t line;   ///< 1-based
    std::string source; ///< its text, first line only
};

} // namespace kxsh

#endif
