# The package: what is installed of a release build, in a zip. Sourced by ./dev, after tools/environment.sh.

package_name() { sed -n 's/^project(movaSystem VERSION \([0-9.]*\).*/movaSystem-\1/p' "$root/CMakeLists.txt"; }

make_package() {
    local name
    name=$(package_name)
    build_preset release mova-package
    rm -rf "$build/package"
    cmake --install "$build/release" --prefix "$build/package/$name" >/dev/null
    (cd "$build/package" && cmake -E tar cf "$name.zip" --format=zip "$name")
    say "the package is build/package/$name.zip"
}

# The line of the sources that an exported function begins at, as the package's symbols say: line_of FUNCTION SYMBOLS
line_of() {
    local address
    address=$(x86_64-w64-mingw32-nm "$2" | sed -n "s/^\([0-9a-f]*\) T $1\$/\1/p")
    x86_64-w64-mingw32-addr2line -e "$2" "$address"
}

# Unpacks the package elsewhere, builds the README's first client against it, and runs that where nothing is registered.
test_package() {
    local name elsewhere said line
    name=$(package_name)
    elsewhere=$(mktemp -d)
    (cd "$elsewhere" && cmake -E tar xf "$build/package/$name.zip")
    cmake -S "$root/tests/package" -B "$elsewhere/build" --toolchain "$root/cmake/mingw-w64.cmake" \
        -DmovaSystem_ROOT="$elsewhere/$name" >/dev/null
    cmake --build "$elsewhere/build" >/dev/null
    said=$(export WINEPREFIX="$elsewhere/wine" && boot_prefix >/dev/null 2>&1 &&
        wine64 "$elsewhere/build/first-client.exe" && wine64 "$elsewhere/$name/bin/mova.exe" help && wineserver -k)
    line=$(line_of DllGetClassObject "$elsewhere/$name/bin/movaSystem.dll.debug")
    rm -rf "$elsewhere"
    case "$line" in
        /movaSystem/server/Exports.cpp:[0-9]*) ;;
        *) say "the package's symbols say: $line" && return 1 ;;
    esac
    case "$said" in
        "Port is 5151"*"mova"*) say "the package serves a client where nothing is registered" ;;
        *) say "the package's client says: $said" && return 1 ;;
    esac
}
