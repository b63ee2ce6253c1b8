// Elements of any value, read as doubles.
#ifndef KXSH_OPERAND_HPP
#define KXSH_OPERAND_HPP

#include "value.hpp"

#include <complex>
#include <cstddef>

namespace kxsh {

/// The elements of a value as full doubles; a scalar answers every position with its one element.
class Operand
{
  public:
    explicit Operand(const Value& value)
        : keep_(asFull(converted(value, kxDOUBLE_CLASS))),
          re_(keep_.data<double>()),
          im_(keep_.imagData<double>()),
          step_(keep_.isScalar() ? 0 : 1)
    {
    }

    [[nodiscard]] bool isComplex() const { return im_ != nullptr; }
    [[nodiscard]] std::size_t count() const { return keep_.count(); }
    [[nodiscard]] double re(std::size_t i) const { return re_[i * step_]; }
    [[nodiscard]] std::complex<double> at(std::size_t i) const
    {
        return {re_[i * step_], im_ != nullptr ? im_[i * step_] : 0.0};
    }

  private:
    Value keep_;
    const double* re_;
    const double* im_;
    std::size_t step_;
};

} // namespace kxsh

#endif
