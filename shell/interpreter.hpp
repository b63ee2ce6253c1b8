// Carries out statements.
#ifndef KXSH_INTERPRETER_HPP
#define KXSH_INTERPRETER_HPP

#include "ast.hpp"
#include "session.hpp"

#include <vector>

namespace kxsh {

class Interpreter
{
  public:
    explicit Interpreter(Session& session) : session_(session) {}

    /// Carries out one statement; false for quit. On an error every variable is as it was before.
    bool run(const Statement& statement);

  private:
    /// The array whose subscripts are being evaluated, for `end`. Null for a variable without a value.
    struct Extent
    {
        const Value* array;
        std::size_t count;    ///< number of subscripts
        std::size_t position; ///< the current one
    };

    void keep(const Statement& statement, const std::string& name, Value value);
    void execute(const Statement& statement, const ExpressionStatement& action);
    void execute(const Statement& statement, const AssignStatement& action);
    void assignSubscripted(const AssignStatement& action);

    [[nodiscard]] const Value* variable(const std::string& name) const;
    [[noreturn]] void undefined(const std::string& name) const;
    Value call(const std::string& name, std::span<const Value> arguments);
    std::vector<Value> subscripts(const Value* array, const std::vector<ExpressionPtr>& arguments);

    /// The value of an expression; the empty handle for a call that gives none.
    Value result(const Expression& expression);
    /// As result(), raising kxsh:noValue where there is none.
    Value evaluate(const Expression& expression);
    Value evaluate(const NumberNode& node);
    Value evaluate(const StringNode& node);
    Value evaluate(const NameNode& node);
    Value evaluate(const ColonNode& node);
    Value evaluate(const EndNode& node);
    Value evaluate(const MatrixNode& node);
    Value evaluate(const RangeNode& node);
    Value evaluate(const BinaryNode& node);
    Value evaluate(const NegateNode& node);
    Value evaluate(const TransposeNode& node);
    Value evaluate(const ApplyNode& node);

    Session& session_;
    std::vector<Extent> extents_;
};

} // namespace kxsh

#endif
