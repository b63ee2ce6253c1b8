// The library in a C++ program: make a matrix, read, write and delete by subscripts, catch an error.
#include <zqspmatrix.hpp>

#include <cstdio>
#include <vector>

using zqspmatrix::Matrix, zqspmatrix::all, zqspmatrix::range;

int main()
{
    Matrix A = Matrix::from_triplets(4, 3, {0, 1, 3, 3}, {0, 1, 1, 2}, {1.5, -2.0, 7.0, 8.0});
    const Matrix B = A.get({3, 0}, all);         // rows 3 and 0, in this order
    A.set(5, all, std::vector<double>{5, 0, 9}); // A grows to six rows
    A.set(range(0, 2), 1, B(0, 1));              // one value for three elements
    A.erase_rows({3, 0});                        // in place
    A.for_each([](auto i, auto j, double value) { std::printf("(%zu,%zu)  %g\n", i, j, value); });
    try {
        A.erase_columns(3);
    } catch (const zqspmatrix::Error& error) { // A is as it was
        std::printf("%s (%s)\n", error.what(), error.identifier().c_str());
    }
}
