#!/usr/bin/env bash
# Builds everything and runs all tests; ends with ctest's own summary and one exit code.
#
# The database tests use the embedded stand-in. They run on a real SQL Server when MERGE_TEST_SQL_SERVER names
# one (with MERGE_TEST_SQL_PORT, MERGE_TEST_SQL_USER and MERGE_TEST_SQL_PASSWORD): Microsoft's ODBC driver must
# then be in this machine's own odbcinst.ini.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/common.sh
source "$here/tools/common.sh"
# shellcheck source=tools/wine_env.sh
source "$here/tools/wine_env.sh"

main() {
    local result=0
    build_standin
    build_preset mingw-debug

    # Before the environment of the tests: the driver's own tests choose their servers and locale themselves.
    say "tests of the stand-in database driver"
    ctest --test-dir "$build_dir/standin" --output-on-failure --no-tests=error || result=1

    open_wine test
    say "tests of the tool"
    run_tool_tests 9>&- || result=1
    return "$result"
}

run_tool_tests() {
    cd "$root" && ctest --preset mingw-debug --output-on-failure --no-tests=error
}

install_packages
trap close_wine EXIT
unset DISPLAY # tests move the mouse: never on a user's display
main
