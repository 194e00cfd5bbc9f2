#!/usr/bin/env bash
# Builds the release: build/release/MergeAccountQuery-VERSION-win64.zip and its SHA-256 beside it. The same
# commit gives the same bytes on every machine of one Debian version, so that anybody can check a release by building
# it again. The tests that drive the program from outside run on the very file that is handed out, unpacked from the
# archive; when one fails there is no archive.
set -euo pipefail

# shellcheck source=tools/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"
# shellcheck source=tools/wine_env.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/wine_env.sh"

release_dir="$build_dir/release"
content="$release_dir/content"
version=$(sed -n 's/^project(MergeAccountQuery VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
archive="MergeAccountQuery-$version-win64.zip"
# The contents, in the order in which they are packed.
files=(MergeAccountQuery.exe QuerySettings.ini manual.html CHANGELOG.md THIRD-PARTY.txt)

# The version is also written in files that CMake does not generate.
check_version() {
    grep -q "\"ProductVersion\", \"$version\"" "$root/src/resources/app.rc" &&
        grep -q "^## \[$version\]" "$root/CHANGELOG.md" && return
    echo "src/resources/app.rc and CHANGELOG.md do not both have version ${version:-in CMakeLists.txt}" >&2
    return 1
}

# The archive must not depend on when, where and by whom it is built.
fix_surroundings() {
    export TZ=UTC LC_ALL=C.UTF-8 SOURCE_DATE_EPOCH
    SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
    umask 022
    if [[ -n $(git -C "$root" status --porcelain) ]]; then
        say "this tree differs from its commit: the archive has the commit's date, but other content"
    fi
}

write_manual() {
    local title
    title=$(sed -n 's/^# //p' "$root/docs/manual.md" | head -n 1)
    # From docs/, because the manual's picture paths are relative. The language is a template variable: with metadata
    # pandoc would look for a Chinese translation of its own terms, which it does not have, and warn.
    (cd "$root/docs" && quietly manual pandoc manual.md --from=gfm --to=html5 --standalone --self-contained \
        --css=manual.css --variable=lang:zh-CN --metadata=pagetitle:"$title" --fail-if-warnings \
        --output="$content/manual.html")
}

# CRLF for Notepad, and UTF-16 because only from it the profile functions read Chinese on every Windows.
write_texts() {
    sed 's/$/\r/' "$root/CHANGELOG.md" >"$content/CHANGELOG.md"
    { printf '\xff\xfe'; sed 's/$/\r/' "$root/packaging/QuerySettings.ini" | iconv -f UTF-8 -t UTF-16LE; } \
        >"$content/QuerySettings.ini"
}

write_notices() {
    "$root/tools/third_party.sh" "$build_dir/mingw-release/MergeAccountQuery.map" | sed 's/$/\r/' \
        >"$content/THIRD-PARTY.txt"
}

pack() {
    cd "$content"
    chmod 644 "${files[@]}"
    touch --date="@$SOURCE_DATE_EPOCH" "${files[@]}"
    trap 'rm -f "$release_dir/untested.zip"' EXIT
    zip -q -9 -X -D ../untested.zip "${files[@]}"
    cd ..
}

# In a shell of its own: the tests have other surroundings.
test_archive() (
    local unpacked="$release_dir/unpacked"
    unzip -q "$release_dir/untested.zip" -d "$unpacked"
    unset MERGE_TEST_SQL_SERVER DISPLAY # no other server than the stand-in, and never a user's display
    trap close_wine EXIT
    open_wine test
    export MERGE_TEST_PROGRAM="Z:${unpacked//\//\\}\\MergeAccountQuery.exe"
    cd "$root"
    ctest --preset mingw-debug --label-regex '^MergeAccountQuery[.]exe$' --no-tests=error 9>&-
)

hand_out() {
    mv untested.zip "$archive"
    sha256sum "$archive" >"$archive.sha256"
    rm -r unpacked
}

install_packages git pandoc zip unzip
check_version
fix_surroundings
build_preset mingw-release
build_preset mingw-debug
build_standin
say "release $version"
rm -rf "$release_dir"
mkdir -p "$content"
cp "$build_dir/mingw-release/MergeAccountQuery.exe" "$content/"
write_manual
write_texts
write_notices
pack
say "tests of the program in the archive"
test_archive
hand_out
say "made: $release_dir/$archive"
cat "$release_dir/$archive.sha256"
