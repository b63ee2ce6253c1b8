#!/bin/sh
# wheel.sh PYTHON FOLDER: a source distribution, a wheel built from it alone, and the wheel in an environment that sees
# neither the sources nor the build: it imports, answers, brings its libraries, and names no folder of this machine.
set -eu
python=$1
work=$2
root=$(cd "$(dirname "$0")/../.." && pwd)
unset PYTHONPATH

rm -rf "$work/fresh"
mkdir -p "$work/fresh"
cd "$root"
"$python" setup.py -q sdist -d "$work/fresh" egg_info --egg-base "$work/fresh"

# The sources keep their place, so that a second run builds only what changed. How fast it is does not matter here.
export CMAKE_ARGS="-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DZQSP_LTO=OFF"
mkdir -p "$work/sources"
find "$work/sources" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} + # what is gone must not be built
tar -xzf "$work"/fresh/zqspmatrix-*.tar.gz -C "$work/fresh"
cp -rp "$work"/fresh/zqspmatrix-*/. "$work/sources"
cd "$work/fresh"
"$python" -m venv --system-site-packages environment # with what Debian has packages of, and nothing else
environment/bin/python -m pip wheel -q --no-build-isolation --no-deps --no-index -w . "$work/sources"
environment/bin/python -m pip install -q --no-index --no-deps zqspmatrix-*.whl
environment/bin/python - <<'CHECKS'
import importlib.metadata, pathlib
import numpy as np, scipy.sparse as sp, zqspmatrix

package = pathlib.Path(zqspmatrix.__file__).parent
assert "environment" in package.parts, package
assert importlib.metadata.version("zqspmatrix") == zqspmatrix.__version__
S = zqspmatrix.Matrix(sp.random(50, 40, 0.1, format="csc", random_state=1))
del S[[0, 3]], S[:, 5:]
assert S.shape == (48, 5) and np.array_equal(S[::-1].toarray(), S.toarray()[::-1])
loaded = {line.split()[-1] for line in open("/proc/self/maps") if "libkx" in line or "libzq" in line}
assert len(loaded) == 3 and all(pathlib.Path(path).parent == package for path in loaded), loaded
CHECKS
if grep -rlF --exclude-dir=__pycache__ -e "$root" -e "$work/sources" environment/lib/python*/site-packages/zqspmatrix; then
    echo "the wheel names a folder of the machine that built it" >&2
    exit 1
fi
