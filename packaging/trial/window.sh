# A display in memory, and the program's window on it. Sourced after processes.sh.
# shellcheck shell=bash

open_window_display() {
    start xvfb Xvfb -displayfd 3 -screen 0 1280x800x24 -dpi 96 -nolisten tcp 3>"${state:?}/display"
    wait_for 20 test -s "$state/display" || fail "Xvfb did not start"
    DISPLAY=:$(<"$state/display")
    export DISPLAY
}

# The main window is told by its title.
main_window() {
    xdotool search --onlyvisible --name '^ORVO' 2>/dev/null | head -n 1
}

save_screenshot() {
    import -window "$(main_window)" "$state/screenshot.png"
    say "Screenshot: ${state#"${root:?}/"}/screenshot.png"
}
