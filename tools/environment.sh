# What ./dev and ./mova share: installing packages, building a preset, the Wine prefix, and registration in it.
# Sourced with $root set to the project's folder. Progress goes to stderr.

build="$root/build"
# No debugger steps in where a program ends by a fault: it would have that look like success.
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe=" LC_ALL=C.UTF-8

say() { echo "$*" >&2; }

. "$root/tools/xerces.sh"

build_packages=(cmake dpkg-dev libboost1.81-dev libcereal-dev libfmt-dev libhowardhinnant-date-dev libicu-dev
    libsimdjson-dev libxerces-c-dev libxml2-dev ninja-build nlohmann-json3-dev rapidjson-dev g++ g++-mingw-w64-x86-64-posix
    mingw-w64-tools libwine-dev libz-mingw-w64-dev wine wine64 zlib1g-dev)
test_packages=(googletest)
tool_packages=(clang clang-format clang-tidy libclang-rt-14-dev)

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs those of the named Debian packages that are missing.
install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    {
        as_root apt-get update -q
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends "${missing[@]}"
    } >&2
}

wine64() {
    if [ -x /usr/lib/wine/wine64 ]; then /usr/lib/wine/wine64 "$@"; else command wine64 "$@"; fi
}

# Makes what a new $WINEPREFIX needs. Its services have to end before others start: two sets of them block each other.
boot_prefix() { wine64 wineboot -i && wineserver -w; }

# Takes a preset's Wine prefix, in which its DLL alone is registered, and makes it, once: use_prefix PRESET
use_prefix() {
    export WINEPREFIX="$build/wine-$1"
    registered="$WINEPREFIX/registered"  # as new as the registration, empty where that was taken back
    [ ! -e "$WINEPREFIX/made" ] || return 0
    say "making a Wine prefix in build/wine-$1"
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    boot_prefix >"$build/wineboot.log" 2>&1 || { say "wineboot failed; see build/wineboot.log" && return 1; }
    touch "$WINEPREFIX/made"
}

configure_preset() {
    case "$1" in debug | release | lint) ensure_xerces ;; esac
    [ -e "$build/$1/build.ninja" ] && return
    say "configuring $1"
    (cd "$root" && cmake --preset "$1") >&2
}

# Configures and builds a preset: build_preset NAME [TARGET...]
build_preset() {
    local preset=$1
    shift
    configure_preset "$preset"
    (cd "$root" && cmake --build --preset "$preset" ${1:+--target "$@"}) >&2
}

# Registers a preset's DLL in its prefix, where an older state of it is registered, or none.
register_preset() {
    local preset=$1
    use_prefix "$preset"
    [ -s "$registered" ] && [ ! "$build/$preset/bin/movaSystem.dll" -nt "$registered" ] && return
    say "registering the $preset build of movaSystem.dll"
    wine64 regsvr32 /s "$build/$preset/bin/movaSystem.dll" >&2 || { say "regsvr32 failed" && return 1; }
    echo yes >"$registered"
}
