// Carries out statements.
#ifndef KXSH_INTERPRETER_HPP
#define KXSH_INTERPRETER_HPP

#include "ast.hpp"
#include "functions.hpp"
#include "session.hpp"

#include <optional>
#include <span>
#include <vector>

namespace kxsh {

class Interpreter
{
  public:
    explicit Interpreter(Session& session) : session_(session) {}

    /// Carries out one statement; false for quit. What a statement without statements in it prints is flushed at its
    /// end; on an error in it, every variable is as it was before it.
    bool run(const Statement& statement);

    /// After an error of run(): the innermost statement that failed, and the byte of the source that is at fault.
    struct Fault
    {
        const Statement* statement = nullptr;
        std::optional<std::size_t> offset;
    };
    [[nodiscard]] const Fault& fault() const { return fault_; }

  private:
    /// The array whose subscripts are being evaluated, for `end`. Null for a variable without a value.
    struct Extent
    {
        const Value* array;
        std::size_t count;    ///< number of subscripts
        std::size_t position; ///< the current one
    };

    Flow execute(const Statement& statement);
    Flow execute(const Statement& statement, const ExpressionStatement& action);
    Flow execute(const Statement& statement, const AssignStatement& action);
    Flow execute(const Statement& statement, const JumpStatement& action);
    Flow execute(const Statement& statement, const IfStatement& action);
    Flow execute(const Statement& statement, const LoopStatement& action);
    Flow execute(const Block& block);

    void keep(const Statement& statement, const std::string& name, Value value);
    void assignSubscripted(const Target& target, const AssignStatement& action);
    void assignSeveral(const Statement& statement, const AssignStatement& action);

    [[nodiscard]] const Value* variable(const std::string& name) const;
    [[noreturn]] void undefined(const std::string& name) const;
    const Function& function(const std::string& name) const;
    std::vector<Value> values(const Expressions& expressions);
    std::vector<Value> subscripts(const Value* array, std::span<const ExpressionPtr> arguments);
    std::vector<Value> severalResults(const Expression& expression, std::size_t count);

    /// The value of an expression. A call of a function that gives none raises kxsh:noValue before it does anything,
    /// unless no value is needed; then that is the empty handle.
    Value evaluate(const Expression& expression, bool needed = true);
    Value valueOf(const Expression& expression, bool needed);
    [[nodiscard]] Value end() const;
    Value matrix(const Expression& expression);
    Value range(const Expression& expression);
    Value apply(const Expression& expression, bool needed);

    Session& session_;
    std::vector<Extent> extents_;
    Fault fault_;
};

} // namespace kxsh

#endif
