#include "interpreter.hpp"

#include "concatenation.hpp"
#include "error.hpp"
#include "functions.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"
#include "operators.hpp"
#include "printing.hpp"

#include <fmt/format.h>

#include <sstream>
#include <utility>

namespace kxsh {

bool Interpreter::run(const Statement& statement)
{
    extents_.clear();
    if (std::holds_alternative<QuitStatement>(statement.action)) {
        return false;
    }
    if (const auto* help = std::get_if<HelpStatement>(&statement.action)) {
        session_.out << helpText(session_, help->topic);
    } else if (const auto* assignment = std::get_if<AssignStatement>(&statement.action)) {
        execute(statement, *assignment);
    } else {
        execute(statement, std::get<ExpressionStatement>(statement.action));
    }
    return true;
}

/// Gives a variable its value. What is shown is composed before, so that nothing fails afterwards.
void Interpreter::keep(const Statement& statement, const std::string& name, Value value)
{
    std::ostringstream shown;
    if (statement.prints) {
        printValue(shown, name, value, session_.width);
    }
    session_.variables.insert_or_assign(name, std::move(value));
    session_.out << shown.str();
}

/// The result of anything but a plain variable is kept as `ans`.
void Interpreter::execute(const Statement& statement, const ExpressionStatement& action)
{
    const auto* name = std::get_if<NameNode>(&action.expression->node);
    const Value* known = name != nullptr ? variable(name->name) : nullptr;
    if (known != nullptr) {
        pollInterrupt();
        if (statement.prints) {
            printValue(session_.out, name->name, *known, session_.width);
        }
    } else if (Value value = result(*action.expression)) {
        keep(statement, "ans", std::move(value));
    }
}

void Interpreter::execute(const Statement& statement, const AssignStatement& action)
{
    if (!action.subscripted) {
        keep(statement, action.name, evaluate(*action.value));
        return;
    }
    assignSubscripted(action);
    if (statement.prints) {
        printValue(session_.out, action.name, *variable(action.name), session_.width);
    }
}

void Interpreter::assignSubscripted(const AssignStatement& action)
{
    const auto found = session_.variables.find(action.name);
    const bool known = found != session_.variables.end();
    if (action.deletes && !known) {
        undefined(action.name);
    }
    const Value value = action.deletes ? Value(kx::kxCreateEmptyLiteral()) : elementsOf(evaluate(*action.value));
    const std::vector<Value> places = subscripts(known ? &found->second : nullptr, action.subscripts);
    if (known) {
        assign(found->second, value, places, action.name);
    } else {
        Value fresh;
        assign(fresh, value, places, action.name);
        session_.variables.emplace(action.name, std::move(fresh));
    }
}

const Value* Interpreter::variable(const std::string& name) const
{
    const auto found = session_.variables.find(name);
    return found == session_.variables.end() ? nullptr : &found->second;
}

void Interpreter::undefined(const std::string& name) const
{
    const std::string close = closestName(session_, name);
    throw Error("kxsh:undefined", fmt::format("there is no variable or function '{}'{}", name,
                                              close.empty() ? "" : fmt::format("; did you mean '{}'?", close)));
}

Value Interpreter::call(const std::string& name, std::span<const Value> arguments)
{
    const Function* function = findFunction(name);
    if (function == nullptr) {
        undefined(name);
    }
    return callFunction(*function, session_, arguments);
}

std::vector<Value> Interpreter::subscripts(const Value* array, const std::vector<ExpressionPtr>& arguments)
{
    std::vector<Value> values;
    extents_.push_back({array, arguments.size(), 0});
    for (const ExpressionPtr& argument : arguments) {
        extents_.back().position = values.size();
        values.push_back(evaluate(*argument));
    }
    extents_.pop_back();
    return values;
}

Value Interpreter::result(const Expression& expression)
{
    pollInterrupt();
    return std::visit([this](const auto& node) { return evaluate(node); }, expression.node);
}

Value Interpreter::evaluate(const Expression& expression)
{
    Value value = result(expression);
    if (!value) {
        throw Error("kxsh:noValue", "a function that gives no value is used in an expression");
    }
    return value;
}

Value Interpreter::evaluate(const NumberNode& node)
{
    return node.imaginary ? Value::complexNumber(0, node.value) : Value::number(node.value);
}

Value Interpreter::evaluate(const StringNode& node)
{
    return Value::text(node.text);
}

Value Interpreter::evaluate(const NameNode& node)
{
    const Value* value = variable(node.name);
    return value != nullptr ? *value : call(node.name, {});
}

Value Interpreter::evaluate(const ColonNode&)
{
    return Value(kx::kxCreateColon());
}

Value Interpreter::evaluate(const EndNode&)
{
    if (extents_.empty()) {
        throw Error("kxsh:syntax", "'end' stands outside a subscript");
    }
    const Extent& extent = extents_.back();
    return Value::number(extent.array == nullptr ? 0 : extentOf(*extent.array, extent.count, extent.position));
}

Value Interpreter::evaluate(const MatrixNode& node)
{
    std::vector<std::vector<Value>> rows;
    for (const auto& row : node.rows) {
        rows.emplace_back();
        for (const ExpressionPtr& element : row) {
            rows.back().push_back(evaluate(*element));
        }
    }
    return concatenate(rows);
}

Value Interpreter::evaluate(const RangeNode& node)
{
    const double start = realScalar(evaluate(*node.start), "the start of a range");
    const double step = node.step ? realScalar(evaluate(*node.step), "the step of a range") : 1;
    const double stop = realScalar(evaluate(*node.stop), "the end of a range");
    return Value::range(start, step, stop);
}

Value Interpreter::evaluate(const BinaryNode& node)
{
    const Value left = evaluate(*node.left);
    const Value right = evaluate(*node.right);
    const bool arithmetical = node.op == BinaryOperator::kAdd || node.op == BinaryOperator::kSubtract ||
                              node.op == BinaryOperator::kMultiply || node.op == BinaryOperator::kDivide;
    return arithmetical ? arithmetic(node.op, left, right) : compare(node.op, left, right);
}

Value Interpreter::evaluate(const NegateNode& node)
{
    return arithmetic(BinaryOperator::kMultiply, Value::number(-1), evaluate(*node.operand));
}

Value Interpreter::evaluate(const TransposeNode& node)
{
    return Value(kx::kxTranspose(elementsOf(evaluate(*node.operand)).get()));
}

Value Interpreter::evaluate(const ApplyNode& node)
{
    const auto* name = std::get_if<NameNode>(&node.target->node);
    if (name != nullptr) {
        if (const Value* array = variable(name->name)) {
            return reference(*array, subscripts(array, node.arguments), name->name);
        }
        std::vector<Value> arguments;
        for (const ExpressionPtr& argument : node.arguments) {
            arguments.push_back(evaluate(*argument));
        }
        return call(name->name, arguments);
    }
    const Value array = evaluate(*node.target);
    return reference(array, subscripts(&array, node.arguments), "the value");
}

} // namespace kxsh
