#!/usr/bin/env bash
# Static analysis of the product: a second compiler's warnings, clang-tidy and cppcheck. Each is an error.
set -euo pipefail

# shellcheck source=tools/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

folders=(text db discovery account_query id_repair app)

# clang-tidy takes the settings of .clang-tidy and the commands of the build with the second compiler.
run_clang_tidy() {
    printf '%s\0' "${folders[@]/%//*.cpp}" | xargs -0 -I{} bash -c 'printf "%s\0" {}' |
        xargs -0 -n 3 -P "$(nproc)" clang-tidy --quiet -p "$build_dir/clang-debug"
}

# The whole product in one run, because some checks compare files. Findings in system headers are not ours to fix, and
# cppcheck 2.17 reports every function of which it does not follow all branches; a plain loop reads better than
# std::accumulate with a lambda.
run_cppcheck() {
    cppcheck --quiet --error-exitcode=1 --enable=warning,style,performance,portability --inconclusive \
        --std=c++20 --platform=win64 --library=windows -j "$(nproc)" \
        -D_WIN32 -DUNICODE -D_UNICODE -I "$root" -I /usr/x86_64-w64-mingw32/include \
        --suppress='*:/usr/*' --suppress=useStlAlgorithm --suppress=normalCheckLevelMaxBranches "${folders[@]}"
}

cd "$root"
install_packages clang lld clang-tidy cppcheck
build_preset clang-debug
say "clang-tidy"
quietly clang-tidy run_clang_tidy
say "cppcheck"
quietly cppcheck run_cppcheck
