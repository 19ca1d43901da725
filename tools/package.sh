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

# The line of the README that compiles the first client.
readme_line() { sed -n '/^    x86_64-w64-mingw32-g++/,/[^\\]$/p' "$1"; }

# Runs a client with the library, and the manifests that lead to it, beside it: run_beside_library CLIENT PACKAGE
run_beside_library() {
    local folder
    folder=$(dirname "$1")
    cp "$2/bin/movaSystem.dll" "$2/bin/movaSystem.X.manifest" "$2/samples/first-client.exe.manifest" "$folder"
    wine64 "$1"
}

# Unpacks the package elsewhere, holds its files against the kept list, builds the README's first client against it, with
# CMake and as the README says, and runs these where nothing is registered.
test_package() {
    local name elsewhere unpacked said line
    name=$(package_name)
    elsewhere=$(mktemp -d)
    unpacked="$elsewhere/$name"
    (cd "$elsewhere" && cmake -E tar xf "$build/package/$name.zip")
    (cd "$unpacked" && find . -type f | LC_ALL=C sort) | diff "$root/tests/package/files.txt" - >&2 ||
        { say "the package has other files than tests/package/files.txt" && return 1; }
    cmake -S "$root/tests/package" -B "$elsewhere/build" --toolchain "$root/cmake/mingw-w64.cmake" \
        -DmovaSystem_ROOT="$unpacked" >/dev/null
    cmake --build "$elsewhere/build" >/dev/null
    (cd "$unpacked" && bash -e <(readme_line README.md))
    said=$(export WINEPREFIX="$elsewhere/wine" && boot_prefix >/dev/null 2>&1 &&
        wine64 "$elsewhere/build/first-client.exe" && run_beside_library "$unpacked/first-client.exe" "$unpacked" &&
        wine64 "$unpacked/bin/mova.exe" help && wineserver -k) ||
        { say "a client of the package fails: $said" && return 1; }
    line=$(line_of DllGetClassObject "$unpacked/bin/movaSystem.dll.debug")
    rm -rf "$elsewhere"
    case "$line" in
        /movaSystem/server/Exports.cpp:[0-9]*) ;;
        *) say "the package's symbols say: $line" && return 1 ;;
    esac
    case "$said" in
        "Port is 5151"*"Port is 5151"*"mova"*) say "the package serves clients where nothing is registered" ;;
        *) say "the package's clients say: $said" && return 1 ;;
    esac
}
