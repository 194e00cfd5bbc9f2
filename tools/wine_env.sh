# The Wine environment of the tests and of the demo; source it after common.sh.
#
#   open_wine NAME [SERVERS]   makes the environment build/wine/NAME usable and exports everything that a
#                              Windows program started with "$wine" needs. SERVERS is the folder with the
#                              stand-in's database servers (default: build/wine/NAME/servers).
#                              Without DISPLAY it starts a virtual display.
#   close_wine                 ends whatever still runs in it; safe to call twice and in a trap.
#
# Tests and demo use environments of different names: a game server started by one must not be found by the other.
#
# The environment's lock is file descriptor 9. Commands that may leave programs behind are started with 9>&-, so
# that a run that was killed does not keep the next one waiting.
# shellcheck shell=bash
# shellcheck disable=SC2154 # root and build_dir come from common.sh

# Without randomised addresses where the machine permits it; some containers do not.
wine=/usr/lib/wine/wine64
if setarch -R true 2>/dev/null; then wine="$root/tools/wine_start"; fi
wine_server=/usr/lib/wine/wineserver
wine_is_open=
display_pid=

# has_display: whether there is a display that answers.
has_display() {
    [[ -n ${DISPLAY:-} ]] && timeout 10 import -window root -crop 1x1+0+0 null: 2>/dev/null
}

# A virtual display on a number that is free, for as long as the calling script runs.
open_virtual_display() {
    local number_file number
    number_file=$(mktemp)
    # In a session of its own: Ctrl+C in the terminal must not end it before the programs that draw on it.
    setsid Xvfb -displayfd 3 -screen 0 1920x1200x24 -nolisten tcp 3>"$number_file" >/dev/null 2>&1 9>&- &
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

# The fonts that the program and the system's message boxes ask for, replaced by the installed Chinese font.
write_font_replacements() {
    local face
    printf 'Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\n'
    for face in "Microsoft YaHei" "Microsoft YaHei UI" "SimSun" "NSimSun" "Tahoma" "MS Shell Dlg" \
        "MS Shell Dlg 2" "MS Sans Serif" "Microsoft Sans Serif" "Segoe UI" "System"; do
        printf '"%s"="WenQuanYi Micro Hei"\n' "$face"
    done
}

create_prefix() {
    local sibling
    rm -rf "$WINEPREFIX" # incomplete, when an earlier run was interrupted
    sibling=$(compgen -G "$build_dir/wine/*/prefix/.complete" | head -n 1) || true
    if [[ -n $sibling ]]; then
        # Wine's 700 MB of system files are only read: two environments share them through hard links.
        sibling=$(dirname "$sibling")
        mkdir -p "$WINEPREFIX/drive_c"
        cp -al "$sibling/drive_c/windows" "$sibling/drive_c/Program Files"* "$WINEPREFIX/drive_c/"
        cp -a "$sibling/drive_c/users" "$sibling/drive_c/ProgramData" "$WINEPREFIX/drive_c/"
        cp -a "$sibling"/*.reg "$sibling/.update-timestamp" "$sibling/dosdevices" "$WINEPREFIX/"
    else
        say "Wine environment (once)"
        mkdir -p "$WINEPREFIX"
        quietly wineboot "$wine" wineboot --init || return 1
        write_font_replacements >"$WINEPREFIX/fonts.reg"
        quietly wine-fonts "$wine" regedit /S "$WINEPREFIX/fonts.reg" || return 1
        rm "$WINEPREFIX/fonts.reg"
    fi
    "$wine_server" -k -w 2>/dev/null || true
    touch "$WINEPREFIX/.complete"
}

open_wine() {
    local name=$1 folder="$build_dir/wine/$1"
    mkdir -p "$folder"
    # Two scripts in one environment would end each other's programs.
    exec 9>"$folder/lock"
    if ! flock --nonblock 9; then
        echo "waiting: the Wine environment $name is in use" >&2
        flock 9
    fi

    # Without Wine's debugger a program that crashes ends at once, instead of asking on the display what to do. The one
    # channel that is left tells where Wine ignores an exception and carries on.
    export WINEPREFIX="$folder/prefix" WINELOADER=/usr/lib/wine/wine64 WINEDEBUG=-all,err+seh
    export WINEDLLOVERRIDES='mscoree,mshtml=;winedbg.exe=d'
    # On a machine where this script has just made that locale, the shell itself still believes that it is missing,
    # and says so. The programs that it starts find it.
    { export LC_ALL=zh_CN.UTF-8; } 2>/dev/null
    # With a real server named, the machine's own driver list has Microsoft's driver.
    if [[ -z ${MERGE_TEST_SQL_SERVER:-} ]]; then
        export ODBCSYSINI="$folder/odbc" ODBCINI="$folder/odbc/odbc.ini"
        export SQLSTANDIN_ROOT="${2:-$folder/servers}"
        mkdir -p "$SQLSTANDIN_ROOT"
        write_driver_list "$ODBCSYSINI"
    fi
    wine_is_open=yes
    # Left over when an earlier run was killed.
    "$wine_server" -k 2>/dev/null || true
    # On a display of our own no window manager draws captions, so Wine does.
    local managed=Y
    [[ -n ${DISPLAY:-} ]] || { open_virtual_display && managed=N; }
    [[ -e $WINEPREFIX/.complete ]] || create_prefix 9>&-
    # One server process for the whole run, so that each program starts at once.
    "$wine_server" -p 9>&-
    # The first program starts Wine's services, which inherit its output and keep it open: a reader would wait for
    # ever, so the first program's output is discarded.
    "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d "$managed" /f >/dev/null 2>&1 </dev/null 9>&-
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
