#!/usr/bin/env bash
# Installs what is missing from Debian's packages. Called by ./run, ./test, ./bench and .ci/run with the sets that they need:
#   tools/setup.sh build [test] [ci] [peers]
set -euo pipefail

packages_build="g++ cmake ninja-build ccache pkg-config libtbb-dev libpng-dev zlib1g-dev libepoxy-dev libegl-dev libegl1 libgl1-mesa-dri \
  libsdl2-dev libx11-dev libxi-dev libfreetype-dev libharfbuzz-dev libfontconfig-dev fonts-inter libdw-dev libportal-dev"
packages_test="libgtest-dev libgmock-dev nlohmann-json3-dev xvfb xdotool \
  xserver-xorg-core xserver-xorg-video-dummy xinput dbus-daemon desktop-file-utils appstream shared-mime-info libxml2-utils"
packages_ci="clang clang-format clang-tidy libclang-rt-14-dev debootstrap"
packages_peers="libopenvdb-dev libboost-dev libimath-dev libtinyobjloader-dev libassimp-dev"

missing=()
for set in "$@"; do
  name="packages_$set"
  for package in ${!name:?"unknown package set '$set'"}; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
  done
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "These packages are missing, and only root can install them: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
echo "Installing: ${missing[*]}" >&2
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
