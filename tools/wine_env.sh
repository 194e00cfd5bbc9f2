# The Wine environment of the tests and of the demo; source it after common.sh.
#
#   open_wine NAME [SERVERS]   makes the environment build/wine/NAME usable and exports everything that a
#                              Windows program started with "$wine" needs. SERVERS is the folder with the
#                              stand-in's database servers (default: build/wine/NAME/servers).
#   close_wine                 ends whatever still runs in it; safe to call twice and in a trap.
#
# Tests and demo use environments of different names: a game server started by one must not be found by
# the other.
# shellcheck shell=bash

wine=/usr/lib/wine/wine64
wine_server=/usr/lib/wine/wineserver
wine_is_open=
display_pid=

# A virtual display on a number that is free, for as long as the calling script runs.
open_display() {
    [[ -n ${DISPLAY:-} ]] && return
    local number_file number
    number_file=$(mktemp)
    # In a session of its own: Ctrl+C in the terminal must not end it before the programs that draw on it.
    setsid Xvfb -displayfd 3 -screen 0 1920x1200x24 -nolisten tcp 3>"$number_file" >/dev/null 2>&1 {lock_fd}>&- &
    display_pid=$!
    for _ in {1..100}; do
        number=$(<"$number_file")
        [[ -n $number ]] && break
        sleep 0.1
    done
    rm -f "$number_file"
    if [[ -z $number ]]; then
        echo "the virtual display did not start" >&2
        return 1
    fi
    export DISPLAY=":$number"
}

# Names the stand-in driver as each of Microsoft's drivers, in a driver list of our own.
write_driver_list() {
    local folder=$1 driver
    mkdir -p "$folder"
    for driver in "ODBC Driver 18 for SQL Server" "ODBC Driver 17 for SQL Server" \
        "SQL Server Native Client 11.0" "SQL Server"; do
        printf '[%s]\nDescription=SQL Server stand-in\nDriver=%s\n\n' \
            "$driver" "$build_dir/standin/libsqlserver_standin.so"
    done >"$folder/odbcinst.ini"
    : >"$folder/odbc.ini"
}

# The faces that the program and the system's message boxes ask for, shown with the Chinese face that is here.
write_font_replacements() {
    local face
    printf 'Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\n'
    for face in "Microsoft YaHei" "Microsoft YaHei UI" "SimSun" "NSimSun" "Tahoma" "MS Shell Dlg" \
        "MS Shell Dlg 2" "MS Sans Serif" "Microsoft Sans Serif" "Segoe UI" "System"; do
        printf '"%s"="WenQuanYi Micro Hei"\n' "$face"
    done
}

create_prefix() {
    say "Wine environment (once)"
    mkdir -p "$WINEPREFIX"
    quietly wineboot "$wine" wineboot --init || return 1
    write_font_replacements >"$WINEPREFIX/fonts.reg"
    quietly wine-fonts "$wine" regedit /S "$WINEPREFIX/fonts.reg" || return 1
    "$wine_server" -w
    touch "$WINEPREFIX/.complete"
}

open_wine() {
    local name=$1 folder="$build_dir/wine/$1"
    mkdir -p "$folder"
    # Two scripts in one environment would end each other's programs.
    exec {lock_fd}>"$folder/lock"
    if ! flock --nonblock "$lock_fd"; then
        echo "waiting: the Wine environment $name is in use" >&2
        flock "$lock_fd"
    fi

    export WINEPREFIX="$folder/prefix" WINELOADER="$wine" WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
    export LC_ALL=zh_CN.UTF-8
    # With a real server named, the machine's own driver list has Microsoft's driver.
    if [[ -z ${MERGE_TEST_SQL_SERVER:-} ]]; then
        export ODBCSYSINI="$folder/odbc" ODBCINI="$folder/odbc/odbc.ini"
        export SQLSTANDIN_ROOT="${2:-$folder/servers}"
        mkdir -p "$SQLSTANDIN_ROOT"
        write_driver_list "$ODBCSYSINI"
    fi
    wine_is_open=yes
    open_display
    [[ -e $WINEPREFIX/.complete ]] || create_prefix
    # One server process for the whole run, so that each program starts at once.
    "$wine_server" -p {lock_fd}>&-
    export WINE_ENVIRONMENT_IS_OPEN=yes
}

close_wine() {
    if [[ -n $wine_is_open ]]; then
        wine_is_open=
        "$wine_server" -k 2>/dev/null || true
        "$wine_server" -w 2>/dev/null || true
    fi
    if [[ -n $display_pid ]]; then
        kill "$display_pid" 2>/dev/null || true
        wait "$display_pid" 2>/dev/null || true
        display_pid=
    fi
}
