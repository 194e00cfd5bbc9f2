#!/usr/bin/env bash
# Builds the release: build/release/MergeAccountQuery-VERSION-win64.zip and its SHA-256 beside it. The same
# commit gives the same bytes on every machine of one Debian version, so that anybody can check a release by building
# it again. There is an archive only when the program in it, unpacked again, has passed the tests that start it.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/common.sh
source "$here/common.sh"
# shellcheck source=tools/wine_env.sh
source "$here/wine_env.sh"

release_dir="$build_dir/release"
content="$release_dir/content"
untested="$release_dir/untested"
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

# pack: the archive and its SHA-256, still in the folder of what has not been tested.
pack() {
    (
        cd "$content"
        chmod 644 "${files[@]}"
        touch --date="@$SOURCE_DATE_EPOCH" "${files[@]}"
        zip -q -9 -X -D "$untested/$archive" "${files[@]}"
        cd "$untested"
        sha256sum "$archive" >"$archive.sha256"
    )
}

# The cases with the program's label start the file that MERGE_TEST_PROGRAM names.
test_archive() {
    local unpacked="$release_dir/unpacked"
    mkdir "$unpacked"
    (cd "$unpacked" && cmake -E tar xf "$untested/$archive") || return 1
    say "tests of the program in the archive"
    unset MERGE_TEST_SQL_SERVER # faults can be injected into the stand-in alone
    unset DISPLAY               # tests move the mouse: never on a user's display
    open_wine test
    cd "$root" && MERGE_TEST_PROGRAM="Z:${unpacked//\//\\}\\MergeAccountQuery.exe" \
        ctest --preset mingw-debug --label-regex '^MergeAccountQuery\.exe$' 9>&-
}

install_packages git pandoc zip
check_version
fix_surroundings
rm -rf "$release_dir"
build_preset mingw-release
build_preset mingw-debug
build_standin
say "release $version"
mkdir -p "$content" "$untested"
cp "$build_dir/mingw-release/MergeAccountQuery.exe" "$content/"
write_manual
write_texts
write_notices
pack
trap 'close_wine; rm -rf "$untested"' EXIT
test_archive
mv "$untested/$archive" "$untested/$archive.sha256" "$release_dir/"
say "made: $release_dir/$archive"
cat "$release_dir/$archive.sha256"
