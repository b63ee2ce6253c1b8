// What a user of the package writes: a matrix, two of its columns, and an error caught by its own class.
#include <fl_except.hpp>
#include <kx_array.hpp>
#include <kx_runtime.hpp>
#include <zqspmatrix.h>

#include <cstdio>

namespace kx = matrix::detail::noninlined::kx_array_api;
using TooLarge = fl::except::Exception<ZENTAR::legacy_two_part::pmaxsize, std::exception>;

int main()
{
    kxArray* identity = kx::kxCreateSparseNumericMatrix(3, 3, 3, kxDOUBLE_CLASS, kxREAL);
    for (unsigned j = 0; j < 3; ++j) {
        identity->jc[j + 1] = j + 1;
        identity->ir[j] = j;
        static_cast<double*>(identity->pr)[j] = 1.0;
    }
    kxArray* lastTwo = kx::kxCreateColonObject(2, 1, 3);
    kxArray* columns = nullptr;
    const spStatus status = spRef4(identity, lastTwo, &columns);
    const bool right = status == spOK && kx::kxGetN(columns) == 2 && columns->jc[2] == 2 && columns->ir[1] == 2;
    for (kxArray* array : {identity, lastTwo, columns}) {
        kx::kxDestroyArray(array);
    }

    bool caught = false;
    kxrt::legacy_errors_raise(false);
    try {
        kxHandleSparseSubscriptError(spIndexExceedsMaxSize);
    } catch (const TooLarge& error) {
        caught = error.error_id() == "ZENTAR:legacy_two_part:pmaxsize";
    }
    std::printf("zqspmatrix %s of %s\n", libzqspmatrix_version, libzqspmatrix_build_date);
    return right && caught && kxrt::live_blocks() == 0 ? 0 : 1;
}
