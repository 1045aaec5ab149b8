# What the scripts beside this file share. Sourced, not run.
# shellcheck shell=bash

set -euo pipefail

# shellcheck disable=SC2034
started_in=$PWD
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Debian's packages, by what needs them.
# shellcheck disable=SC2034
build_packages=(
    g++ cmake ninja-build pkg-config
    qtbase5-dev libqt5sql5-sqlite qttranslations5-l10n # Qt, its SQLite driver, its own texts in Chinese
    libwine-dev                                        # the declarations of the Win32 API
    libsqlite3-dev libcpp-httplib-dev                  # the emulators of Windows and of the cloud
)
# shellcheck disable=SC2034
test_packages=(
    fonts-noto-cjk               # for the tests that look at what is drawn
    xvfb openbox trayer xdotool  # a display with a window manager and a tray, and a hand
    iproute2                     # a network for each test, and a second one that may not reach the program
    tzdata                       # a time zone other than UTC
)
# shellcheck disable=SC2034
run_packages=(
    fonts-noto-cjk        # the interface is Chinese
    xvfb xdotool          # a display and a hand
    imagemagick           # the screenshot
    iproute2              # a network of its own
)
# shellcheck disable=SC2034
windows_packages=(
    g++-mingw-w64-x86-64-posix nsis # the compiler, the installer
    zip python3                     # the zip, the list of its contents
)
# shellcheck disable=SC2034
windows_trial_packages=(
    "${run_packages[@]}"
    wine wine64 locales   # in the place of Windows, with the code page of China
    iproute2 xxd          # a network of its own, bytes to compare
    osslsigncode openssl  # a signature and its certificate
    python3-jsonschema    # the form of the list of contents
)
# shellcheck disable=SC2034
picture_packages=(
    fonts-noto-cjk        # the interface is Chinese
    imagemagick optipng   # the user guide's pictures
)
# shellcheck disable=SC2034
fuzz_packages=(
    clang libclang-rt-dev # the compiler with the sanitizers and libFuzzer
    llvm                  # names in stack traces, the lines reached
)
# shellcheck disable=SC2034
bench_packages=(
    fonts-noto-cjk        # the window that is measured is Chinese
    nodejs socat curl     # what the program is measured against
)
# shellcheck disable=SC2034
check_packages=(clang-format shellcheck)

say() {
    printf '==> %s\n' "$*"
}

fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# Installs what is missing of the given packages; where it has no right to, says what to run and ends.
install_packages() {
    local package missing=()
    command -v dpkg-query >/dev/null || fail "this system has no Debian packages; needed are the like of: $*"
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        sudo -n true 2>/dev/null ||
            fail "packages are missing; run:
    sudo apt-get update && sudo apt-get install --no-install-recommends ${missing[*]}"
        as_root=(sudo -n)
    fi
    say "Installing ${missing[*]}"
    "${as_root[@]}" apt-get -q update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y install --no-install-recommends "${missing[@]}"
}

# Where the archive with Qt for Windows lies that the project has built itself.
windows_qt_cache() {
    echo "${XDG_CACHE_HOME:-$HOME/.cache}/orvo-cloud-manager/qt5-mingw.tar.xz"
}

# The archive with Qt for Windows that is at hand. 1 when there is none.
windows_qt_archive() {
    local archive
    for archive in "${QT5_MINGW_ARCHIVE-}" "$(windows_qt_cache)"; do
        [[ -f $archive ]] && realpath -- "$archive" && return
    done
    return 1
}

# The texts of the program and of its files are Chinese, in the system's 8-bit code page.
use_utf8() {
    [[ $(locale charmap 2>/dev/null) == UTF-8 ]] || export LC_ALL=C.UTF-8
}

# in_own_network COMMAND...: where every port is free, if the system permits that.
in_own_network() {
    if "$root/tools/own-network" true; then
        "$root/tools/own-network" "$@"
    else
        say "The ports that the program uses must be free; nothing else that uses them may be started meanwhile"
        "$@"
    fi
}

# configure PRESET [CMake options...]
configure() {
    say "Configuring build/$1"
    cmake --preset "$@"
}

# build PRESET [FOLDER...]: what the folders hold and what that needs, or everything.
build() {
    local preset=$1
    shift
    say "Building build/$preset"
    if (($#)); then
        set -- --target "${@/%//all}"
    fi
    cmake --build --preset "$preset" "$@"
}
