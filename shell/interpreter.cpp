#include "interpreter.hpp"

#include "error.hpp"
#include "functions.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"
#include "memory_limit.hpp"
#include "operators.hpp"
#include "printing.hpp"

#include <span>
#include <utility>
#include <vector>

namespace kxsh {

namespace {

class Interpreter
{
  public:
    Interpreter(Session& session, Fault& fault) : session_(session), fault_(fault) {}

    /// The innermost statement and expression that an error leaves are the first to see it.
    Flow execute(const Statement& statement)
    {
        refreshMemoryLimit();
        try {
            const auto act = [&](const auto& action) { return execute(statement, action); };
            const Flow flow = std::visit(act, statement.action);
            session_.out.flush();
            return flow;
        } catch (...) {
            if (fault_.statement == nullptr) {
                fault_ = {&statement, fault_.offset.value_or(statement.offset)};
            }
            throw;
        }
    }

  private:
    /// The array whose subscripts are being evaluated, for `end`. Null for a variable without a value.
    struct Extent
    {
        const Value* array;
        std::size_t count;    ///< number of subscripts
        std::size_t position; ///< the current one
    };

    Flow execute(const Block& block)
    {
        for (const Statement& statement : block) {
            const Flow flow = execute(statement);
            if (flow != Flow::kOn) {
                return flow;
            }
        }
        return Flow::kOn;
    }

    Flow execute(const Statement&, Flow flow) { return flow; }

    Flow execute(const Statement&, const IfStatement& action)
    {
        for (const IfStatement::Branch& branch : action.branches) {
            if (!branch.condition || holds(evaluate(*branch.condition))) {
                return execute(branch.body);
            }
        }
        return Flow::kOn;
    }

    Flow execute(const Statement&, const LoopStatement& action)
    {
        const Value values = action.name.empty() ? Value() : evaluate(*action.control);
        const bool isRow = values && values.rows() == 1 && !values.isSparse();
        Value places[] = {Value(kx::kxCreateColon()), Value()};
        for (unsigned k = 0; values ? k < values.columns() && values.rows() != 0 : holds(evaluate(*action.control));
             ++k) {
            if (session_.rounds == 0) {
                raiseInterrupted();
            }
            --session_.rounds;
            if (values) {
                places[1] = Value::number(k + 1.0);
                Value column = reference(values, std::span(places).subspan(isRow ? 1 : 0), action.name);
                session_.variables.insert_or_assign(action.name, std::move(column));
            }
            const Flow flow = execute(action.body);
            if (flow == Flow::kBreak || flow == Flow::kQuit) {
                return flow == Flow::kQuit ? flow : Flow::kOn;
            }
        }
        return Flow::kOn;
    }

    /// The result of anything but a plain variable is kept as `ans`.
    Flow execute(const Statement& statement, const ExpressionPtr& action)
    {
        const Expression& expression = *action;
        const Value* known = expression.kind == Kind::kName ? variable(expression.name) : nullptr;
        if (known != nullptr) {
            pollInterrupt();
            session_.print(shown(statement, expression.name, *known));
        } else if (Value value = evaluate(expression, false)) {
            keep(statement, "ans", std::move(value));
        }
        return Flow::kOn;
    }

    Flow execute(const Statement& statement, const AssignStatement& action)
    {
        const Target& target = action.targets.front();
        if (action.targets.size() > 1) {
            assignSeveral(statement, action);
        } else if (!target.subscripted) {
            keep(statement, target.name, evaluate(*action.value));
        } else {
            assignSubscripted(target, action);
            session_.print(shown(statement, target.name, *variable(target.name)));
        }
        return Flow::kOn;
    }

    /// What is printed of a value; empty after a semicolon.
    [[nodiscard]] std::string shown(const Statement& statement, std::string_view name, const Value& value) const
    {
        return statement.prints ? valueText(name, value, session_.width) : "";
    }

    /// Gives a variable its value. What is shown is composed before, so that nothing fails afterwards.
    void keep(const Statement& statement, const std::string& name, Value value)
    {
        const std::string text = shown(statement, name, value);
        session_.variables.insert_or_assign(name, std::move(value));
        session_.print(text);
    }

    void assignSubscripted(const Target& target, const AssignStatement& action)
    {
        const auto found = session_.variables.find(target.name);
        const bool known = found != session_.variables.end();
        if (action.deletes && !known) {
            undefined(target.name);
        }
        const Value value = action.deletes ? Value(kx::kxCreateEmptyLiteral()) : elementsOf(evaluate(*action.value));
        const std::vector<Value> places = subscripts(known ? &found->second : nullptr, target.subscripts);
        Value fresh;
        assign(known ? found->second : fresh, value, places, target.name);
        if (!known) {
            session_.variables.emplace(target.name, std::move(fresh));
        }
    }

    /// All results and all changed variables exist before the first variable changes.
    void assignSeveral(const Statement& statement, const AssignStatement& action)
    {
        const std::vector<Value> results = severalResults(*action.value, action.targets.size());
        std::map<std::string, Value> changed;
        for (std::size_t i = 0; i < results.size(); ++i) {
            const Target& target = action.targets[i];
            if (!target.subscripted) {
                changed.insert_or_assign(target.name, results[i]);
                continue;
            }
            const Value* known = variable(target.name);
            Value& value = changed.try_emplace(target.name, known != nullptr ? *known : Value()).first->second;
            assign(value, elementsOf(results[i]), subscripts(known, target.subscripts), target.name);
        }
        std::string text;
        for (const Target& target : action.targets) {
            text += shown(statement, target.name, changed.at(target.name));
        }
        for (auto& [name, value] : changed) {
            session_.variables.insert_or_assign(name, std::move(value));
        }
        session_.print(text);
    }

    [[nodiscard]] const Value* variable(const std::string& name) const
    {
        const auto found = session_.variables.find(name);
        return found == session_.variables.end() ? nullptr : &found->second;
    }

    [[noreturn]] void undefined(const std::string& name) const
    {
        const std::string close = closestName(session_, name);
        fail("kxsh:undefined", "there is no variable or function '{}'{}", name,
             close.empty() ? "" : fmt::format("; did you mean '{}'?", close));
    }

    [[nodiscard]] const Function& function(const std::string& name) const
    {
        const Function* function = findFunction(name);
        if (function == nullptr) {
            undefined(name);
        }
        return *function;
    }

    std::vector<Value> values(const Expressions& expressions)
    {
        std::vector<Value> values;
        for (const ExpressionPtr& expression : expressions) {
            values.push_back(evaluate(*expression));
        }
        return values;
    }

    std::vector<Value> severalResults(const Expression& expression, std::size_t count)
    {
        const bool calls = expression.kind == Kind::kName || expression.kind == Kind::kApply;
        if (!calls || expression.name.empty() || variable(expression.name) != nullptr) {
            fail("kxsh:operand", "{} results are taken from a call of a function only", count);
        }
        return callForSeveral(function(expression.name), session_, values(expression.parts), count);
    }

    std::vector<Value> subscripts(const Value* array, std::span<const ExpressionPtr> arguments)
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

    /// The value of an expression. A call of a function that gives none raises kxsh:noValue before it does anything,
    /// unless no value is needed; then that is the empty handle.
    Value evaluate(const Expression& expression, bool needed = true)
    {
        pollInterrupt();
        try {
            return valueOf(expression, needed);
        } catch (...) {
            fault_.offset = fault_.offset.value_or(expression.offset);
            throw;
        }
    }

    Value valueOf(const Expression& expression, bool needed)
    {
        const Expressions& parts = expression.parts;
        switch (expression.kind) {
        case Kind::kLiteral:
            return expression.value;
        case Kind::kEnd:
            return end();
        case Kind::kMatrix:
            return matrix(parts);
        case Kind::kRange:
            return range(parts);
        case Kind::kBinary: {
            const Value left = evaluate(*parts[0]);
            return operate(expression.op, left, evaluate(*parts[1]));
        }
        case Kind::kTranspose:
        case Kind::kConjugate:
            return transposed(evaluate(*parts[0]), expression.kind == Kind::kConjugate);
        default:
            return apply(expression, needed);
        }
    }

    [[nodiscard]] Value end() const
    {
        require(!extents_.empty(), "kxsh:syntax", "'end' stands outside a subscript");
        const auto [array, count, position] = extents_.back();
        return Value::number(array == nullptr ? 0 : extentOf(*array, count, position));
    }

    Value matrix(const Expressions& rows)
    {
        std::vector<std::vector<Value>> elements;
        for (const ExpressionPtr& row : rows) {
            elements.push_back(values(row->parts));
        }
        return concatenate(elements);
    }

    Value range(const Expressions& parts)
    {
        const bool stepped = parts.size() == 3;
        const double start = realScalar(evaluate(*parts.front()), "the start of a range");
        const double step = stepped ? realScalar(evaluate(*parts[1]), "the step of a range") : 1;
        const double stop = realScalar(evaluate(*parts.back()), "the end of a range");
        const double most = kx::kxGetMaxNumberOfElements();
        if (step != 0 && (stop - start) / step > most) {
            fail("kx:sizeLimit", "the range {}{}:{} is longer than the limit of {}", shortNumber(start, 10),
                 stepped ? ':' + shortNumber(step, 10) : "", shortNumber(stop, 10), most);
        }
        return Value::range(start, step, stop);
    }

    /// A name, a subscripted reference or a call of a function.
    Value apply(const Expression& expression, bool needed)
    {
        const std::string& name = expression.name;
        if (name.empty()) {
            const Value array = evaluate(*expression.parts.front());
            return reference(array, subscripts(&array, std::span(expression.parts).subspan(1)), "the value");
        }
        const Value* array = expression.kind == Kind::kCommand ? nullptr : variable(name);
        if (array == nullptr) {
            return callFunction(function(name), session_, values(expression.parts), needed);
        }
        return expression.kind == Kind::kName ? *array : reference(*array, subscripts(array, expression.parts), name);
    }

    Session& session_;
    Fault& fault_;
    std::vector<Extent> extents_;
};

} // namespace

bool carryOut(const Statement& statement, Session& session, Fault& fault)
{
    return Interpreter(session, fault).execute(statement) != Flow::kQuit;
}

} // namespace kxsh
