#!/usr/bin/env bash
# Packs the libraries for macOS and for Linux, each with the documentation, checksums and a note on
# how to install it, into build/packages/. Called by ./build-macos --package.
set -euo pipefail
cd "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
readonly macos_library=${1:?the library for macOS}
readonly linux_library=build/run/vandrel_picture.so
readonly packages=build/packages
version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
# The same sources give the same archive.
date=$(git log -1 --format=%ct 2>/dev/null || echo 0)

# shellcheck source=cmake/quietly.sh
. cmake/quietly.sh

# note SYSTEM FILE CHECKER: a page on how to install the library, with the command that checks it.
note() {
    cat <<TEXT
# Picture methods $version for $1

\`$2\` is a plugin: a library that a host development environment loads at start-up. Its class \`Picture\`, and that of every application built with it, then has the five methods that docs/methods.md describes.

1. Check the files: \`$3\` in this folder says OK to each.
2. Quit the development environment, and copy \`$2\` to where it keeps its plugins.
3. Start it again. A program with the line \`dim p as picture = q.ScalingZVK(3, 640, 480)\` now compiles.

To remove it, delete the copy and start the environment again.
TEXT
    [[ $1 != macOS* ]] || cat <<'TEXT'

The library serves macOS 10.13 and later on x86-64, also under translation on other processors. It carries an ad-hoc signature. Where macOS refuses a library that was downloaded, `xattr -d com.apple.quarantine` on the file lifts that; an application with a hardened runtime has to be signed together with it. What was tested of this very file, and what was not, is told in docs/building-for-macos.md.
TEXT
    [[ $1 != Linux* ]] || cat <<'TEXT'

The library serves Linux on x86-64 with glibc 2.14 or later and the C++ runtime of GCC 5 or later. It was tested on Debian 12.
TEXT
}

# pack SHORT_NAME LIBRARY CHECKER SYSTEM: makes one archive, named for the system, and prints its
# name.
pack() {
    local name folder archive
    name=vandrel_picture-$version-$1-x86_64
    folder=$staging/$name
    archive=$packages/$name.tar.gz
    mkdir -p "$folder"
    cp "$2" "$folder/"
    cp -r docs "$folder/"
    note "$4" "$(basename "$2")" "$3" >"$folder/INSTALL.md"
    (cd "$folder" && find . -type f ! -name SHA256SUMS -print0 | sort -z | xargs -0 sha256sum >"$staging/sums")
    mv "$staging/sums" "$folder/SHA256SUMS"
    tar --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$date" -C "$staging" -cf - "$name" |
        gzip -n >"$archive.new"
    # Nobody sees half an archive.
    mv "$archive.new" "$archive"
    echo "$archive: $(stat -c %s "$archive") bytes"
}

run_quietly() { zvk_quietly "The library for Linux could not be built." "$@"; }
run_quietly cmake --preset run
run_quietly cmake --build --preset run --target vandrel_picture
mkdir -p "$packages"
staging=$(mktemp -d)
trap 'rm -rf "$staging"' EXIT
pack macos "$macos_library" "shasum -a 256 -c SHA256SUMS" "macOS on x86-64"
pack linux "$linux_library" "sha256sum -c SHA256SUMS" "Linux on x86-64"
