# What the trial and the tests under Wine share: processes in the background that end with the script, on whatever way it
# ends, and a Wine prefix of its own. Sourced after lib.sh.
# shellcheck shell=bash

state=${state:?is the folder for the output of the processes}

prefix=$state/prefix
prefix_time_limit=300 # s

names=()
pids=()

# start NAME COMMAND...: its output goes to NAME.log.
start() {
    local name=$1
    shift
    "$@" >"$state/$name.log" 2>&1 9>&- &
    names+=("$name")
    pids+=($!)
}

# The process that was last started under that name.
pid_of() {
    local i pid=
    for i in "${!names[@]}"; do
        [[ ${names[i]} != "$1" ]] || pid=${pids[i]}
    done
    echo "$pid"
}

# wait_for SECONDS CONDITION...: 1 when the time is over.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.2
    done
}

# start_display WIDTH HEIGHT: one in memory. -noreset: when its last client leaves, Xvfb resets itself and loses clients
# that connect meanwhile. A lost client fails or hangs, such as Wine's desktop process; then no program gets a window.
start_display() {
    start xvfb Xvfb -noreset -displayfd 3 -screen 0 "${1}x${2}x24" -dpi 96 -nolisten tcp 3>"$state/display"
    wait_for 20 test -s "$state/display" || fail "Xvfb did not start"
    DISPLAY=:$(<"$state/display")
    export DISPLAY
}

# The first started is the last to end: what others rely on comes first.
end_processes() {
    local i
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
        end_process "${pids[i]}"
    done
    names=()
    pids=()
}

end_process() {
    kill "$1" 2>/dev/null || return 0
    wait_for 5 process_ended "$1" || kill -KILL "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

process_ended() {
    ! kill -0 "$1" 2>/dev/null
}

# The last lines of the files that have any.
show_logs() {
    local log
    for log in "$@"; do
        [[ -s $log ]] || continue
        printf -- '--- the end of %s\n' "${log#"$root/"}" >&2
        tail -n 15 "$log" >&2
    done
}

# Whether somebody listens on 127.0.0.1 and a TCP port. Only looks: a connection would be a print job.
listens() {
    local port
    printf -v port '%04X' "$1"
    grep -qE "^ *[0-9]+: (0100007F|00000000):$port 00000000:0000 0A " /proc/net/tcp
}

# No downloads and no dialogues for .NET and HTML, nothing in the user's menus, and a crash ends the program at once.
# The printer set-up is the trial's own.
export WINEPREFIX=$prefix WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d;printui=n'

make_prefix() {
    say "Making a Wine prefix"
    use_chinese
    timeout "$prefix_time_limit" wineboot --init >"$state/wineboot.log" 2>&1 || fail "Wine could not make a prefix"
    wineserver --wait
    # Where the trial's programs find the program's libraries.
    export WINEPATH='C:\Program Files\OrvoCloudManager'
}

# Wine takes its 8-bit code page, in which journal and log are written, from the locale. This one need not be installed.
use_chinese() {
    mkdir -p "$state/locale"
    localedef --no-warnings=all -i zh_CN -f UTF-8 "$state/locale/zh_CN.UTF-8"
    # The shell itself does not find the locale there, and warns; Wine finds it.
    export LOCPATH=$state/locale LC_ALL=zh_CN.UTF-8 2>/dev/null
}

# from_code_page FILES...: their text.
from_code_page() {
    cat "$@" 2>/dev/null | iconv -f GBK
}

end_wine() {
    wineserver --kill 2>/dev/null || true
}
