#!/usr/bin/env bash
# Measures the tool side by side with programs that do only the unavoidable part of its work, and prints one table:
# also in build/bench/table.txt. Takes about five minutes; let nothing else run meanwhile.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/common.sh
source "$here/tools/common.sh"
# shellcheck source=tools/wine_env.sh
source "$here/tools/wine_env.sh"

programs=${BENCH_PROGRAMS:-$build_dir/mingw-release}
bench_dir="$build_dir/bench"

build_benchmarks() {
    say "build: benchmarks"
    (cd "$root" && quietly configure-bench cmake --preset mingw-release) || return 1
    (cd "$root" && quietly build-bench cmake --build --preset mingw-release --target benchmarks --parallel "$(nproc)")
}

# measure PROGRAM: adds the rows that it prints to the table: the lines with tabs, for what it starts prints as well.
# It can ask the host about its own process.
measure() {
    say "measuring: $1"
    BENCH_WINE=$wine BENCH_PROGRAM="$programs/bench/$1.exe" bash -c \
        'BENCH_PROCESS=$$ exec "$BENCH_WINE" "$BENCH_PROGRAM"' \
        </dev/null 2>"$bench_dir/$1.errors" | tr -d '\r' | grep --text $'\t' >>"$bench_dir/rows.tsv" && return
    echo "$1 failed:" >&2
    cat "$bench_dir/$1.errors" >&2
    return 1
}

# private_kilobytes PROGRAM: what it alone has written to after its start. Wine does not tell, its host does.
private_kilobytes() {
    local process
    "$wine" "$1" </dev/null >/dev/null 2>&1 &
    process=$!
    sleep 3
    awk '$1 == "Private_Dirty:" { print $2 }' "/proc/$process/smaps_rollup"
    kill "$process"
    wait "$process" || true
}

# The tool beside a bare window with one list view, five times in turn.
measure_memory() {
    local round ours bare
    say "measuring: private memory"
    cp "$programs/MergeAccountQuery.exe" "$programs/bench/bare_list.exe" "$bench_dir"
    rm -f "$bench_dir"/ours.kb "$bench_dir"/bare.kb
    for round in {1..5}; do
        private_kilobytes "$bench_dir/MergeAccountQuery.exe" >>"$bench_dir/ours.kb"
        private_kilobytes "$bench_dir/bare_list.exe" >>"$bench_dir/bare.kb"
    done
    ours=$(sort -n "$bench_dir/ours.kb" | sed -n 3p)
    bare=$(sort -n "$bench_dir/bare.kb" | sed -n 3p)
    printf 'private memory after the start\t%d KB\t%d KB\t%d KB more\t3072\t%s\n' "$ours" "$bare" \
        $((ours - bare)) "$( ((ours - bare <= 3072)) && echo yes || echo NO)" >>"$bench_dir/rows.tsv"
}

# The program is one file: every DLL that it imports must be part of Windows.
measure_file() {
    local program="$programs/MergeAccountQuery.exe" size imports foreign
    size=$(stat --format=%s "$program")
    imports=$(x86_64-w64-mingw32-objdump -p "$program" | sed -n 's/.*DLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort)
    foreign=$(grep -vxE '(advapi32|comctl32|gdi32|kernel32|msvcrt|odbc32|ole32|shell32|user32)\.dll' <<<"$imports" || true)
    awk -v size="$size" 'BEGIN {
        printf "size of the release .exe\t%.1f KB\t-\t-\t420\t%s\n", size / 1024, size <= 430080 ? "yes" : "NO" }'
    printf 'imported DLLs that are not the system'"'"'s\t%s\t-\t-\tnone\t%s\n' "${foreign:-none}" \
        "$([[ -z $foreign ]] && echo yes || echo NO)"
}

print_table() {
    { printf 'row\tthe tool\tthe bare side\tcompared\tat most\treached\n'; cat "$bench_dir/rows.tsv"; } |
        column -t -s $'\t' -o '  ' | tee "$bench_dir/table.txt"
}

measure_all() {
    local program result=0
    measure_file >"$bench_dir/rows.tsv"
    for program in ${BENCH_ONLY:-bench_windows bench_local bench_growth bench_database}; do
        measure "$program" || result=1
        [[ $program != bench_windows ]] || measure_memory || result=1
    done
    print_table
    return "$result"
}

unset MERGE_TEST_SQL_SERVER # always the stand-in, so that the numbers can be compared
install_packages
[[ -n ${BENCH_PROGRAMS:-} ]] || build_benchmarks
build_standin
mkdir -p "$bench_dir"
trap close_wine EXIT
unset DISPLAY
open_wine bench
result=0
measure_all 9>&- || result=$?
exit "$result"
