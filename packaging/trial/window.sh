# Finds and operates the program's window. Sourced after processes.sh.
# shellcheck shell=bash

# Finds the main window by its title and keeps it in `main_window`: while it is being raised it is not visible.
find_main_window() {
    main_window=$(xdotool search --onlyvisible --name '^ORVO' 2>/dev/null | head -n 1)
    [[ -n $main_window ]]
}

# Positions in the form, which has a fixed size, and in its first card, read off a screenshot.
declare -A places=(
    [page-list]='95 285'
    [page-add]='95 355'
    [field-name]='620 215'
    [field-serial]='620 275'
    [confirm]='575 416'
    [delete]='846 109'
)

# click PLACE
click() {
    local x y
    read -r x y <<<"${places[$1]}"
    click_window "$main_window" "$x" "$y"
}

# turn_to PAGE: by its button at the left, which is bright when selected. A click while the window is being raised is
# lost, so it is repeated.
turn_to() {
    wait_for 10 is_turned_to "$1" || fail "the window does not show $1"
}

is_turned_to() {
    click "$1"
    local x y blue
    read -r x y <<<"${places[$1]}"
    blue=$(import -window "$main_window" -format "%[fx:round(255*p{$((x - 70)),$y}.b)]" info:)
    ((${blue:-0} > 128))
}

# type_into PLACE TEXT
type_into() {
    click "$1"
    xdotool key ctrl+a type "$2"
}

# click_window WINDOW X Y: sets the focus first, because there is no window manager.
click_window() {
    xdotool windowfocus "$1" mousemove --window "$1" "$2" "$3" click 1
}

# The message dialog, recognised by its size.
message_dialog() {
    local window
    for window in $(xdotool search --onlyvisible --name '' 2>/dev/null); do
        if xdotool getwindowgeometry "$window" 2>/dev/null | grep -q 'Geometry: 316x206'; then
            echo "$window"
            return
        fi
    done
    return 1
}

# Presses "确定".
answer_message() {
    wait_for 30 message_dialog >/dev/null || fail "no message was shown"
    click_window "$(message_dialog)" 158 168
}

save_screenshot() {
    import -window "$main_window" "${state:?}/screenshot.png"
    say "Screenshot: ${state#"${root:?}/"}/screenshot.png"
}
