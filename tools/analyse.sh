#!/usr/bin/env bash
# Static analysis of the product: a second compiler's warnings, clang-tidy and cppcheck. Each is an error.
set -euo pipefail

# shellcheck source=tools/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

# The rooms of src/ from the ground up, each with the headers that it may include beside its own. Only the build's
# include paths keep it away from what lies outside.
declare -A may_include=(
    [text]=''
    [db]='text/'
    [discovery]='text/'
    [app]='text/'
    [id_repair]='text/ db/ app/'
    [account_query]='text/ db/ discovery/ app/ id_repair/open_repair_window.h'
    [app/main.cpp]='account_query/query_window.h'
)
folders=("${root}"/src/{text,db,discovery,app,id_repair,account_query})

# check_includes: names every #include of the program's own headers that the table does not have.
check_includes() {
    local file room name allowed found=0
    while IFS=: read -r file name; do
        room=${file%%/*} name=${name#*\"} name=${name%%\"*}
        for allowed in "$room/" ${may_include[$room]?no such room} ${may_include[$file]:-}; do
            [[ $name == "$allowed"* && $name != *..* ]] && continue 2
        done
        echo "src/$file may not include \"$name\""
        found=1
    done < <(cd "$root/src" && grep -rE --include='*.cpp' --include='*.h' '^ *# *include *"')
    return "$found"
}

# clang-tidy takes the settings of .clang-tidy and the commands of the build with the second compiler.
run_clang_tidy() {
    find "${folders[@]}" -name '*.cpp' -print0 |
        xargs -0 -n 3 -P "$(nproc)" clang-tidy --quiet -p "$build_dir/clang-debug"
}

# The whole product in one run, because some checks compare files. Findings in system headers are not ours to fix, and
# cppcheck 2.17 reports every function of which it does not follow all branches; a plain loop reads better than
# std::accumulate with a lambda.
run_cppcheck() {
    cppcheck --quiet --error-exitcode=1 --enable=warning,style,performance,portability --inconclusive \
        --std=c++20 --platform=win64 --library=windows -j "$(nproc)" \
        -D_WIN32 -DUNICODE -D_UNICODE -I "$root/src" -I /usr/x86_64-w64-mingw32/include \
        --suppress='*:/usr/*' --suppress=useStlAlgorithm --suppress=normalCheckLevelMaxBranches "${folders[@]}"
}

cd "$root"
install_packages clang lld clang-tidy cppcheck
build_preset clang-debug
say "who includes whom"
quietly includes check_includes
say "clang-tidy"
quietly clang-tidy run_clang_tidy
say "cppcheck"
quietly cppcheck run_cppcheck
