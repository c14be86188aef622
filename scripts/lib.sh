# Shared by the scripts: where we are, and installing what is missing. Sourced, not run.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# Test workbooks and reports must read alike whatever the user's locale.
export LC_ALL=C.UTF-8

# Debian packages by what they are for.
packages_build=(g++ cmake ninja-build ccache pkg-config libexpat1-dev libzip-dev libboost-dev libeigen3-dev
    libcli11-dev libtomlplusplus-dev nlohmann-json3-dev libfmt-dev)
packages_test=(libgtest-dev libgmock-dev libbenchmark-dev)
packages_windows=(g++-mingw-w64-x86-64-win32 mingw-w64-tools wine wine64 fonts-wine fonts-liberation xvfb xauth)
packages_package=(dpkg-dev file zsh)
packages_python=(python3-dev pybind11-dev python3-numpy python3-matplotlib)
packages_fuzz=(clang libclang-rt-14-dev)

# install_missing <package>...: nothing happens when all are there.
install_missing() {
    local missing=() p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done
    ((${#missing[@]})) || return 0
    local sudo=()
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || { echo "Please install as root: apt-get install ${missing[*]}" >&2; exit 1; }
        sudo=(sudo)
    fi
    echo "Installing: ${missing[*]}" >&2
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# configure_and_build <preset> [target...]
configure_and_build() {
    local preset=$1
    shift
    export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    if (($#)); then cmake --build "build/$preset" --target "$@"; else cmake --build "build/$preset"; fi
}
