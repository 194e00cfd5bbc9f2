#!/usr/bin/env bash
# Builds the tool and demonstrates it: two game zones that run on this machine, their databases in the embedded
# stand-in for SQL Server. With a display the program stays open until you close it. Without one a second program
# drives its windows, prints what they show, and pictures are saved in build/demo/.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/common.sh
source "$here/tools/common.sh"
# shellcheck source=tools/wine_env.sh
source "$here/tools/wine_env.sh"

demo_dir="$build_dir/demo"
programs="$build_dir/mingw-release"
# As in the zones' Config.Json.
server='127.0.0.1,14330'
user='sa'
password='Merge}Demo;1'

# The program runs from here, so that its settings file stays out of the source tree.
lay_out_demo() {
    say "demo zones"
    rm -rf "$demo_dir"
    mkdir -p "$demo_dir/servers/$server"
    cp "$programs/MergeAccountQuery.exe" "$demo_dir/"
    printf 'user=%s\npassword=%s\n' "$user" "$password" >"$demo_dir/servers/$server/server.conf"
    local zone
    for zone in qinglong baihu; do
        mkdir -p "$demo_dir/zones/$zone/Mir200"
        cp "$programs/demo/M2Server.exe" "$demo_dir/zones/$zone/Mir200/"
        cp "$root/demo/zones/$zone/Config.Json" "$demo_dir/zones/$zone/"
        iconv -f UTF-8 -t GBK "$root/demo/zones/$zone/Config.ini" >"$demo_dir/zones/$zone/Config.ini"
    done
}

# run_sql DATABASE FILE...: runs scripts of demo/ in a database of the sample server.
run_sql() {
    local database=$1
    shift
    # In an ODBC value in braces a closing brace is doubled.
    local login="UID={$user};PWD={${password//\}/\}\}}}"
    "$wine" "$programs/demo/load_sql.exe" \
        "DRIVER={SQL Server};SERVER={$server};DATABASE={$database};$login;Encrypt=no;" "${@/#/$root/demo/}"
}

run_all_sql() {
    run_sql master databases.sql || return 1
    run_sql GameZone1 tables.sql zone1.sql || return 1
    run_sql GameZone2 tables.sql zone2.sql || return 1
    run_sql Game_玄武三区 tables.sql zone3.sql || return 1
    run_sql GameArchive tables.sql archive.sql
}

load_databases() {
    say "sample databases"
    quietly load-sql run_all_sql
}

start_zones() {
    say "game server processes"
    local zone
    for zone in qinglong baihu; do
        "$wine" "$demo_dir/zones/$zone/Mir200/M2Server.exe" >"$demo_dir/zones/$zone/output.txt" 2>&1 </dev/null &
        for _ in {1..100}; do
            [[ -s "$demo_dir/zones/$zone/output.txt" ]] && break
            sleep 0.1
        done
    done
}

# For a user at the display: the program stays open until it is closed.
leave_open() {
    say "the program is open; to try: keyword dragon, second database GameZone2"
    "$wine" "$demo_dir/MergeAccountQuery.exe" &
    wait $!
}

# drive_windows: prints the output of demo_show and takes a picture whenever it asks for one.
drive_windows() {
    say "the program, driven by demo_show"
    local line name left top width height
    coproc show { exec "$wine" "$programs/demo/demo_show.exe" "Z:${demo_dir//\//\\}\\MergeAccountQuery.exe" 2>&1; }
    # Copied, because bash closes and unsets them when the program ends, whether all is read or not.
    # shellcheck disable=SC2154 # set by coproc
    local from to pid=$show_PID
    exec {from}<&"${show[0]}" {to}>&"${show[1]}"
    while IFS= read -r line <&"$from"; do
        line=${line%$'\r'}
        if [[ $line == 'picture: '* ]]; then
            read -r _ name left top width height <<<"$line"
            import -window root -crop "${width}x${height}+${left}+${top}" +repage "$demo_dir/$name.png"
            echo "    -> $demo_dir/$name.png"
            echo >&"$to"
        else
            printf '%s\n' "$line"
        fi
    done
    exec {from}<&- {to}>&-
    wait "$pid"
}

show_demo() {
    load_databases || return 1
    start_zones
    if [[ $has_user == yes ]]; then
        leave_open
    else
        drive_windows
    fi
}

unset MERGE_TEST_SQL_SERVER # the demo always has its own databases
install_packages
build_preset mingw-release
build_standin
if has_display; then has_user=yes; else has_user=no; unset DISPLAY; fi
trap close_wine EXIT
open_wine demo "$demo_dir/servers"
lay_out_demo
result=0
show_demo 9>&- || result=$?
exit "$result"
