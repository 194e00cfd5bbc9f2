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

install_packages
build_standin
trap close_wine EXIT
# Opened before the build: test programs are asked for their cases while they are built.
open_wine test
build_preset mingw-debug

result=0
say "tests of the stand-in database driver"
# Outside the tests' own driver list, and in a plain locale.
ctest --test-dir "$build_dir/standin" --output-on-failure --no-tests=error || result=1

say "tests of the tool"
(cd "$root" && ctest --preset mingw-debug --output-on-failure --no-tests=error) || result=1
exit "$result"
