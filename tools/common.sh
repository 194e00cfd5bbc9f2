# Shared by the scripts of this repository; source it, do not run it.
# Sets: root (the top of the source tree), build_dir, log_dir.
# shellcheck shell=bash

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034 # used by the scripts that source this file
build_dir="$root/build"
log_dir="$build_dir/logs"

# check_machine: ends the script on a machine where it would fail later and say less.
check_machine() {
    local ID='' VERSION_ID='' PRETTY_NAME='an unknown system'
    # shellcheck source=/dev/null
    [[ ! -r /etc/os-release ]] || source /etc/os-release
    # Debian's next release has no number until it is one.
    [[ $HOSTTYPE == x86_64 && $ID == debian && ${VERSION_ID:-13} -ge 12 ]] &&
        type apt-get dpkg-query >/dev/null 2>&1 && return
    echo "${0##*/} needs Debian 12 or 13 on x86_64, with apt-get and dpkg; this is $PRETTY_NAME on $HOSTTYPE" >&2
    exit 1
}

# One line of progress.
say() {
    printf '== %s\n' "$*"
}

# quietly NAME COMMAND...: keeps the command's output in a log file and shows its end only on failure.
quietly() {
    local name=$1
    shift
    mkdir -p "$log_dir"
    if ! "$@" >"$log_dir/$name.log" 2>&1 </dev/null; then
        printf '%s failed; the end of %s:\n' "$name" "$log_dir/$name.log" >&2
        tail -n 40 "$log_dir/$name.log" >&2
        return 1
    fi
}

# install_packages [PACKAGE...]: what every script needs, and the packages named.
install_packages() {
    say "packages"
    quietly packages "$root/tools/packages.sh" "$@"
}

# build_preset PRESET: configures and builds one preset of the cross build.
build_preset() {
    say "build: $1"
    (cd "$root" && quietly "configure-$1" cmake --preset "$1") || return 1
    (cd "$root" && quietly "build-$1" cmake --build --preset "$1" --parallel "$(nproc)")
}

# The stand-in database driver is a library of this machine, not of Windows, hence a project of its own.
build_standin() {
    say "build: stand-in database driver"
    quietly configure-standin cmake -S "$root/standin" -B "$build_dir/standin" -G Ninja \
        -DCMAKE_BUILD_TYPE=Release || return 1
    quietly build-standin cmake --build "$build_dir/standin" --parallel "$(nproc)"
}

# Here, before bash reads on: what follows in some scripts an older bash does not even understand.
check_machine
