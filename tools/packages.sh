#!/usr/bin/env bash
# Installs what building, testing and showing the tool needs on Debian 12 or 13: the cross compiler, Wine,
# a virtual display, the ODBC driver manager and the Chinese locale; and the packages named as arguments.
# Leaves alone what is installed already.
set -euo pipefail

# The person's own locale may be one of those that a new machine does not have yet.
export LC_ALL=C.UTF-8

# Wine finds the X extension libraries at run time, so its own package only recommends them.
packages=(
    cmake ninja-build g++ g++-mingw-w64-x86-64-posix doctest-dev
    wine wine64 libxrender1 libxrandr2 libxi6 libxcursor1 libxcomposite1 libxfixes3 libxinerama1
    xvfb imagemagick fonts-wqy-microhei
    unixodbc unixodbc-dev odbcinst libsqlite3-dev libicu-dev
    locales
    "$@"
)

# apt knows the names in small letters alone.
proxies=()
for name in http_proxy https_proxy no_proxy; do
    capitals=${name^^}
    value=${!name:-${!capitals:-}}
    [[ -z $value ]] || proxies+=("$name=$value")
done

# Whether sudo passes the environment on is up to the machine.
as_root() {
    if [[ $EUID -eq 0 ]]; then
        env "${proxies[@]}" "$@"
    elif command -v sudo >/dev/null; then
        sudo env "${proxies[@]}" "$@"
    else
        echo "packages are missing and neither root nor sudo is available: $*" >&2
        return 1
    fi
}

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

missing=()
for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
done

if (( ${#missing[@]} > 0 )); then
    echo "installing: ${missing[*]}"
    as_root apt-get update -q
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
fi

# Wine takes its ANSI code page from the locale: 936 needs a Chinese one.
if ! locale -a | grep -qix 'zh_CN\.utf-\?8'; then
    echo "generating the locale zh_CN.UTF-8"
    as_root localedef -i zh_CN -f UTF-8 zh_CN.UTF-8
fi
