// One matrix that calls of every export are made on, one after another, beside the model that predicts each.
#ifndef ZQSP_TESTS_SYSTEM_EVOLVING_MATRIX_HPP
#define ZQSP_TESTS_SYSTEM_EVOLVING_MATRIX_HPP

#include "system/any_operation.hpp"

#include <map>
#include <string>

namespace zqsp::test {

class EvolvingMatrix
{
  public:
    /// Draws the first matrix. Half of them are at the limits: of Shape::AtLimit, under a maximum of 2^31-1 or 2^32-1
    /// elements, and without large blocks.
    EvolvingMatrix() { renew(); }

    /// Draws the next call, makes it and checks it as makeAndCheck() does, leaks included; in one call of six an
    /// allocation may fail, one in eight is made under a maximum number of elements about the size of the matrix. "" or
    /// a text that tells the call and what is wrong.
    std::string step();

    /// Calls made so far by the name of the export.
    [[nodiscard]] const std::map<std::string, unsigned long>& calls() const { return calls_; }

  private:
    void renew();
    [[nodiscard]] bool isSpent() const;
    std::string make(const Operation& operation);

    Model model_;
    Array target_;
    bool isAtLimits_ = false;
    unsigned maximum_ = 0;
    std::map<std::string, unsigned long> calls_;
};

} // namespace zqsp::test

#endif
