# Xerces-C for Windows: from Debian's source package, with Debian's patches, once, into build/xerces-c.

# The lines of a list of sources: where this machine gets its own packages.
source_lines() {
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
        sort -u
}

# Fetches and unpacks a Debian source package. Nothing that the machine is configured with is changed; lists and cache
# stand in a folder of their own: fetch_source PACKAGE FOLDER
fetch_source() {
    local package=$1 apt=$2
    local own=(-q -o "Dir::Etc::SourceList=$apt/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$apt/lists" -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=root)
    mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial" "$apt/unpacked"
    [ -n "$(source_lines)" ] || as_root apt-get update -q  # a new container has no lists of packages yet
    source_lines >"$apt/sources.list" &&
        apt-get "${own[@]}" update &&
        (cd "$apt/unpacked" && apt-get "${own[@]}" source "$package")
}

make_xerces() {
    local making=$1
    fetch_source xerces-c "$making" &&
        cmake -G Ninja -S "$root/cmake/xerces-c" -B "$making/build" -DCMAKE_BUILD_TYPE=Release \
            -DXERCES_SOURCE="$(find "$making/unpacked" -mindepth 1 -maxdepth 1 -type d)" \
            -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$making/installed" &&
        cmake --build "$making/build" &&
        cmake --install "$making/build"
}

# Makes the library where it is missing or was built otherwise: what stands in build/xerces-c is complete.
ensure_xerces() {
    [ ! -e "$build/xerces-c" ] || [ "$root/cmake/xerces-c/CMakeLists.txt" -nt "$build/xerces-c" ] || return 0
    say "building Xerces-C in build/xerces-c"
    local making="$build/xerces-c.making"
    rm -rf "$making"
    mkdir -p "$build"
    make_xerces "$making" >"$build/xerces-c.log" 2>&1 || { say "that failed; see build/xerces-c.log" && return 1; }
    rm -rf "$build/xerces-c"
    mv "$making/installed" "$build/xerces-c"
    rm -rf "$making"
}
