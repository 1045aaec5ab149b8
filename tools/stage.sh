# The program on a display, with a cloud emulator and an emulated machine of its own. Sourced after lib.sh by scripts
# that set `state`, the folder for all of it.
# shellcheck shell=bash

# shellcheck source=tools/processes.sh
source tools/processes.sh

bin=$state/bin
cloud_port=18080    # where the program looks for the cloud: fixed when it was built
start_time_limit=20 # s

# Only one at a time: the program looks for the cloud at a fixed place.
claim_places() {
    mkdir -p "$root/build"
    exec 9>"$root/build/run.lock"
    flock -n 9 || fail "./tools/run or ./tools/screenshots is already at work here; end it first"
    if listens "$cloud_port"; then
        fail "port $cloud_port is taken: end the program that listens there (another cloud emulator?) and try again"
    fi
}

clean_up() {
    local status=$?
    trap - EXIT
    if ((status != 0 && status < 128)); then # not when the user ended it
        show_logs "$state"/*.log "$bin"/logs/*.log
    fi
    end_processes
    exit "$status"
}

end_with_the_script() {
    trap clean_up EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
}

# A fresh copy of what was built, with a state of its own.
prepare_state() {
    rm -rf "$state"
    mkdir -p "$state"
    cp -r build/dev/bin "$bin"
    rm -rf "$bin"/logs/* "$bin"/details/* "$bin"/task.db
    export WIN32_EMULATOR_HOME=$state/win32
    export PATH=$bin:$PATH # the program calls RUNDLL32 by its bare name
}

# open_display WIDTH HEIGHT: one in memory, with a compositor for the translucent dialogs.
open_display() {
    start_display "$1" "$2"
    export QT_QPA_PLATFORM=xcb
    start picom picom --backend xrender --config /dev/null
}

# start_cloud [options...]
# shellcheck disable=SC2120
start_cloud() {
    start cloudservice cloudservice --port "$cloud_port" --store "$state/cloud" "$@"
    wait_for "$start_time_limit" listens "$cloud_port" || fail "the cloud emulator did not start"
}

# start_program CONDITION...: what tells that it is up.
start_program() {
    pushd "$bin" >/dev/null || return # its store lies in the working directory
    start program OrvoCloudManager
    popd >/dev/null || return
    program=$(pid_of program)
    wait_for "$start_time_limit" "$@" || fail "the program did not come up"
}

# The program's windows that are shown; with an argument, those with such a title.
windows() {
    xdotool search --all --onlyvisible --pid "$program" --name "${1-}" 2>/dev/null || true
}

main_window() {
    windows '^ORVO' | head -n 1
}

# "WIDTHxHEIGHT" of a window.
size_of() {
    xdotool getwindowgeometry "$1" 2>/dev/null | sed -n 's/.*Geometry: //p'
}
