# A Wine prefix of its own. Sourced after processes.sh.
# shellcheck shell=bash

prefix=${state:?}/prefix
prefix_time_limit=300 # s

# No downloads and no dialogues for .NET and HTML, nothing in the user's menus, and a crash ends the program at once. The
# printer set-up is the trial's own.
export WINEPREFIX=$prefix WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d;printui=n'

make_prefix() {
    say "Making a Wine prefix"
    timeout "$prefix_time_limit" wineboot --init >"$state/wineboot.log" 2>&1 || fail "Wine could not make a prefix"
    wineserver --wait
    # The trial's programs find the program's libraries.
    export WINEPATH='C:\Program Files\OrvoCloudManager'
}

end_wine() {
    wineserver --kill 2>/dev/null || true
}
