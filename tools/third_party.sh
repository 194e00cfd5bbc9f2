#!/usr/bin/env bash
# third_party.sh LINKER_MAP: prints the notices of what others wrote and the program with that map has linked in,
# taken from the files of the installed packages. Fails when it would not be complete: a package without a notice
# here, a notice without the text of its licence, a file that is missing.
set -euo pipefail
shopt -s inherit_errexit
export LC_ALL=C # the order of files

map=$1
mingw_copyright=/usr/share/doc/mingw-w64-x86-64-dev/copyright
gcc_copyright=/usr/share/doc/gcc-mingw-w64-base/copyright

# Every object and library that the linker read must come from a package whose notices are below.
check_packages() {
    local package packages
    packages=$(sed -n 's/^LOAD \(\/.*\)/\1/p' "$map" | xargs -d '\n' realpath | xargs -d '\n' dpkg-query --search |
        sed 's/:.*//' | sort -u)
    for package in $packages; do
        case $package in
            mingw-w64-x86-64-dev | gcc-mingw-w64-x86-64-posix* | g++-mingw-w64-x86-64-posix) ;;
            *) echo "no notice is known for what is linked in from the package $package" >&2 && return 1 ;;
        esac
    done
}

title() {
    printf '\n\n%s\n%s\n\n' "$1" "${1//?/=}"
}

introduction() {
    cat <<'END'
Notices of the libraries inside MergeAccountQuery.exe
=====================================================

MergeAccountQuery.exe is one file because parts of the libraries below are linked into it. Their licences permit
this and ask that these notices go with every copy: keep this file with the program when you hand it on. All else
that the program calls is part of Windows.

  1. MinGW-w64 run-time and winpthreads: the start of the program, C functions, threads. Permissive licences and
     public domain.
  2. libgcc and libstdc++ of GCC: C++ itself and its standard library. GNU General Public License, version 3 or
     later, with the GCC Runtime Library Exception, which permits handing on a program made with GCC under terms
     of its own.
  3. Headers of libstdc++ that are based on code of Hewlett-Packard and Silicon Graphics: containers and
     algorithms. A permissive licence.
  4. The complete licences that these notices refer to.

The notices are word for word those of Debian's packages mingw-w64-x86-64-dev, gcc-mingw-w64-base,
g++-mingw-w64-x86-64-posix and base-files. They also name files of these libraries that this program does not use.
END
}

# The paragraphs about what a program can have linked in, then the licences that these name without their text.
# What only profiling (gcc -pg) links, the tests and the tools stay out.
mingw_notices() {
    awk '
        function is_linked(path) {
            return path == "*" || path ~ /^mingw-w64-(crt|libraries\/winpthreads)\// &&
                path !~ /\/(profile|testcases|tests_pthread)\//
        }
        BEGIN { RS = ""; ORS = "\n\n" }
        { count = split($0, line, "\n") }
        /^License:/ { text[substr(line[1], 10)] = $0 }
        /^Files:/ {
            linked = 0
            for (i = 1; i <= count && (i == 1 || line[i] ~ /^[ \t]/); ++i) {
                path = line[i]
                sub(/^(Files:)?[ \t]*/, "", path)
                if (is_linked(path)) linked = 1
            }
            if (!linked) next
            print
            if (sub(/^License: */, "", line[count])) { # the last line: the text is elsewhere
                names = split(line[count], name, / (and|or) /)
                for (i = 1; i <= names; ++i) if (!(name[i] in seen)) { seen[name[i]]; named[++total] = name[i] }
            }
        }
        END {
            for (i = 1; i <= total; ++i) {
                if (!(named[i] in text)) {
                    printf "no text of the licence %s\n", named[i] > "/dev/stderr"
                    exit 1
                }
                print text[named[i]]
            }
        }' "$mingw_copyright" | sed 's/^ \.$//'
}

# The file is about the whole collection; these are its parts about the libraries of C and C++.
gcc_notices() {
    sed -n '/^GCC is Copyright/,/^The libbacktrace library/{/^The libbacktrace/!p}' "$gcc_copyright"
    sed -n '/^GCC RUNTIME LIBRARY EXCEPTION/,/^libquadmath/{/^libquadmath/!p}' "$gcc_copyright"
}

# Each notice once, although every header has it.
header_notices() {
    local headers
    headers=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
    # shellcheck disable=SC2016 # of awk
    grep -lsE -d skip 'Hewlett-Packard|Silicon Graphics' "$headers"/* "$headers"/bits/* | xargs -d '\n' awk '
        function finish() {
            if (notice ~ /Hewlett-Packard|Silicon Graphics/ && !(notice in seen)) { seen[notice]; print notice }
            notice = ""
        }
        /^\/\*/ { inside = 1 }
        inside {
            if (/\* Copyright/) finish()
            text = $0
            sub(/^[ \/]*\*+\/?/, "", text)
            gsub(/  +/, " ", text)
            gsub(/^ | $/, "", text)
            if (text != "" || notice ~ /\n[^\n]+\n$/) notice = notice text "\n"
        }
        /\*\// { finish(); inside = 0 }'
}

# The notices refer to these as files that only a Debian machine has.
licences() {
    local file
    grep -oE '/usr/share/common-licenses/[A-Za-z0-9.+-]*[A-Za-z0-9]' <<<"$1" | xargs realpath | sort -u |
        while IFS= read -r file; do
            printf '%s\n\n' "--- $file ---"
            cat "$file"
        done
}

compose() {
    local notices
    notices=$(
        title "1. MinGW-w64 run-time and winpthreads"
        mingw_notices
        title "2. libgcc and libstdc++"
        gcc_notices
        title "3. Headers of libstdc++"
        header_notices
    )
    introduction
    printf '%s\n' "$notices"
    title "4. Complete licences"
    licences "$notices"
}

# What each notice cannot do without, as a pattern for one line.
check_notices() {
    local pattern
    for pattern in \
        '^Copyright: .*the mingw-w64 project' 'Redistributions in binary form must reproduce the accompanying' \
        '^Files: mingw-w64-libraries/winpthreads/\*' 'Permission is hereby granted, free of charge' \
        'Lockless Inc\.$' 'Lucent Technologies$' '^License: public-domain' \
        '^GCC is Copyright \(C\)' '^ - libgcc \(' '^ - libstdc\+\+-v3' '^GCC RUNTIME LIBRARY EXCEPTION' \
        '^1\. Grant of Additional Permission' '^2\. No Weakening of GCC Copyleft' \
        '^Hewlett-Packard Company' '^Silicon Graphics Computer Systems' \
        '^ *GNU GENERAL PUBLIC LICENSE' '^ *END OF TERMS AND CONDITIONS'; do
        grep -qE -- "$pattern" <<<"$1" && continue
        echo "the notices are not complete, no line is like: $pattern" >&2
        return 1
    done
}

check_packages
text=$(compose)
check_notices "$text"
printf '%s\n' "$text"
