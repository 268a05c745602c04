#!/usr/bin/env bash
# Builds oneTBB, from Debian's source package of the version that is installed, with the thread sanitizer, into the folder given.
# Debian's own build hands work from thread to thread where the sanitizer doesn't look, and every parallel loop would be reported.
#   tools/sanitized-tbb.sh FOLDER     leaves FOLDER/lib/libtbb.so and its package files for CMake
set -euo pipefail
folder=$(mkdir -p "$1" && cd "$1" && pwd)
version=$(dpkg-query -W -f='${Version}' libtbb-dev)
[ "$(cat "$folder/version" 2>/dev/null)" = "$version" ] && exit 0

command -v dpkg-source >/dev/null || apt-get install -y -qq --no-install-recommends dpkg-dev >/dev/null
mkdir -p "$folder/apt/lists/partial" "$folder/apt/cache"
# Only lists of sources, in a place of their own: the machine's package lists stay as they are.
sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >"$folder/apt/debian.sources"
apt() {
  apt-get -qq -o Dir::Etc::sourcelist="$folder/apt/debian.sources" -o Dir::Etc::sourceparts=/dev/null \
    -o Dir::State::lists="$folder/apt/lists" -o Dir::Cache="$folder/apt/cache" "$@"
}
apt update
cd "$folder"
rm -rf source
apt source --download-only "onetbb=$version" 2>/dev/null
dpkg-source --no-check -x onetbb_*.dsc source >/dev/null
cmake -G Ninja -S source -B made -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTBB_SANITIZE=thread -DTBB_TEST=OFF -DTBBMALLOC_BUILD=OFF \
  -DTBB_STRICT=OFF -DCMAKE_INSTALL_PREFIX="$folder" >/dev/null
cmake --build made >/dev/null
cmake --install made >/dev/null
rm -rf source made apt onetbb_*
echo "$version" >version
