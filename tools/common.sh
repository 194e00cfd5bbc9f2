# Shared by the scripts of this repository; source it, do not run it.
# Sets: root (the top of the source tree), build_dir, log_dir.
# shellcheck shell=bash

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034 # used by the scripts that source this file
build_dir="$root/build"
log_dir="$build_dir/logs"

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
