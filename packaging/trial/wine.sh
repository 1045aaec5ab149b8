# A Wine prefix of its own. Sourced after processes.sh.
# shellcheck shell=bash

prefix=${state:?}/prefix
prefix_time_limit=300 # s

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
