// Programs that must not compile, one for each MISUSE, with what the compiler must name.
#include <zqspmatrix_eigen.hpp>

#include <string>

using namespace zqspmatrix;

#ifndef MISUSE
#define MISUSE 0
#endif

std::vector<int> starts();
void misuse(Matrix& A, const View& V, BasicMatrix<bool>& L, const std::vector<int>& i, const std::vector<double>& v);
void misuse(Matrix& A, [[maybe_unused]] const View& V, BasicMatrix<bool>& L, const std::vector<int>& i,
            const std::vector<double>& v)
{
#if MISUSE == 1 // Subscript
    A.set(1.5, 0, 7.0);
#elif MISUSE == 2  // Subscript
    A.set(true, 0, 7.0);
#elif MISUSE == 3  // Subscript
    A.set("abc", 0, 7.0);
#elif MISUSE == 4  // Subscript
    A.erase_rows(v);
#elif MISUSE == 5  // Subscript
    A.erase(A);
#elif MISUSE == 6  // deleted
    A.erase_rows({true, false});
#elif MISUSE == 7  // ValueFor
    A.set(0, 0, std::complex<double>(0, 1));
#elif MISUSE == 8  // ValueFor
    L.set(0, 0, 1);
#elif MISUSE == 9  // ValueFor
    A.set(0, 0, "7");
#elif MISUSE == 10 // ValueFor
    L.set(all, all, A);
#elif MISUSE == 11 // set
    View lent = Matrix::view(1, 1, i, i, v);
    lent.set(0, 0, 7.0);
#elif MISUSE == 12 // deleted
    View copy = V;
#elif MISUSE == 13 // LastingIndices
    const auto lent = Matrix::view(1, 1, starts(), i, v);
#elif MISUSE == 14 // LastingIndices
    const auto lent = Matrix::view(1, 1, std::vector<long>(2), i, v);
#elif MISUSE == 15 // LastingValues
    const auto lent = Matrix::view(1, 1, i, i, std::span<const float>());
#elif MISUSE == 16 // Element
    const BasicMatrix<std::string> words(1, 1);
#elif MISUSE == 17 // deleted
    const auto lent = view(to_eigen(A));
#elif MISUSE == 18 // nodiscard\|warn_unused\|unused-result
    A.get(0, 0);
#elif MISUSE == 19 // Integer
    const Matrix B(2.5, 3);
#else              // what is right
    A.set(1, 0, 7);
    A.set(0, {0, 2}, v);
    A.erase_rows(i);
    A.erase(L);
    A.set(0, 0, L);
    L.set(0, 0, true);
    const View lent = Matrix::view(1, 1, i, std::span(i), v);
    const Matrix copy = lent;
    const auto E = to_eigen(A);
    const auto back = view(E);
#endif
}
