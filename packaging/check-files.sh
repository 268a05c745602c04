#!/usr/bin/env bash
# Holds the files of this folder against the tools and the tables that will read them.
#   check-files.sh desktop | metainfo VERSION | mime | icons | manual PROGRAM | install BUILD_FOLDER VERSION
# Exit 77 where the tool isn't on this machine.
set -euo pipefail
cd "$(dirname "$0")"

id=io.github.morvane.Morvane

fail() {
  echo "$*" >&2
  exit 1
}

# The test is skipped, and says why.
need() {
  command -v "$1" >/dev/null || { echo "Skipped: $1 is not installed (package $2)."; exit 77; }
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Every type that the desktop entry takes is known: to the system's table, or to our own file.
check_types() {
  local type system=/usr/share/mime/packages/freedesktop.org.xml
  [ -f "$system" ] || return 0
  for type in $(sed -n 's/^MimeType=//p' "$id.desktop" | tr ';' ' '); do
    grep -q "type=\"$type\"" "$system" "$id.xml" || fail "$id.desktop takes $type, which nothing declares"
    grep -q "<mediatype>$type</mediatype>" "$id.metainfo.xml" || fail "$id.metainfo.xml does not name $type"
  done
}

check_desktop() {
  need desktop-file-validate desktop-file-utils
  desktop-file-validate --warn-kde "$id.desktop"
  check_types
}

check_metainfo() {
  need appstreamcli appstream
  appstreamcli validate --no-net "$id.metainfo.xml"
  local newest
  newest=$(sed -n 's/.*<release version="\([^"]*\)".*/\1/p' "$id.metainfo.xml" | head -n 1)
  [ "$newest" = "$1" ] || fail "$id.metainfo.xml: the newest release is '$newest', the program is '$1'"
  grep -q "\"morvane $1\"" morvane.1 || fail "morvane.1 is not of version $1"
}

# The type is found by its name and by its first bytes.
check_mime() {
  need xmllint libxml2-utils
  need update-mime-database shared-mime-info
  xmllint --noout "$id.xml"
  mkdir -p "$scratch/mime/packages"
  cp "$id.xml" "$scratch/mime/packages/"
  update-mime-database "$scratch/mime"
  grep -qx '50:application/x-morvane-scene:\*\.mvb' "$scratch/mime/globs2" || fail "no pattern for *.mvb"
  # At offset 0 a value of 4 bytes; with it, at offset 4, the number 1 as it lies in the file. The database begins with 12 bytes.
  printf '[60:application/x-morvane-scene]\n>0=\0\4HSEM\n1>4=\0\4\1\0\0\0\n' >"$scratch/expected"
  tail -c +13 "$scratch/mime/magic" | cmp - "$scratch/expected" || fail "the first bytes are not the ones of a project"
}

check_icons() {
  need xmllint libxml2-utils
  xmllint --noout "icons/scalable/$id.svg"
  local size header
  for size in 16 24 32 48 64 128 256 512; do
    header=$(od -An -tx1 -N24 "icons/$size/$id.png" | tr -d ' \n')
    [ "${header:0:16}" = 89504e470d0a1a0a ] || fail "icons/$size/$id.png is not a PNG"
    [ "${header:32}" = "$(printf '%08x%08x' "$size" "$size")" ] || fail "icons/$size/$id.png is not $size pixels wide and high"
  done
  cmp "icons/256/$id.png" ../data/Icons/Icon.png || fail "the window's icon is not the desktop's: run packaging/icons/render.sh"
}

# The manual names the options that the program has, and no others.
check_manual() {
  local program=$1
  if command -v groff >/dev/null; then
    local complaints
    complaints=$(groff -man -ww -z morvane.1 2>&1)
    [ -z "$complaints" ] || fail "$complaints"
  fi
  "$program" --help | sed -n 's/^  \(--[a-z-]*\).*/\1/p' | sort >"$scratch/program"
  sed 's/\\-/-/g' morvane.1 | sed -n '/^\.TP/{n;s/^\.BI* \(--[a-z-]*\).*/\1/p}' | sort >"$scratch/manual"
  [ -s "$scratch/program" ] || fail "$program --help lists no option"
  diff "$scratch/program" "$scratch/manual" || fail "the options of --help (<) and of morvane.1 (>) differ"
}

# What the build installs is whole and runs.
check_install() {
  local prefix=$scratch/prefix version=$2 file
  cmake --install "$1" --prefix "$prefix" >/dev/null
  for file in bin/morvane "share/applications/$id.desktop" "share/metainfo/$id.metainfo.xml" "share/mime/packages/$id.xml" \
    "share/icons/hicolor/scalable/apps/$id.svg" "share/icons/hicolor/48x48/apps/$id.png" share/man/man1/morvane.1; do
    [ -f "$prefix/$file" ] || fail "$file is not installed"
  done
  diff -r ../data "$prefix/share/morvane" || fail "data/ is not installed as it is"
  [ "$("$prefix/bin/morvane" --version)" = "morvane $version" ] || fail "the installed program is not version $version"
}

what=${1:?what to check}
shift
case $what in
  desktop | metainfo | mime | icons | manual | install) "check_$what" "$@" ;;
  *) fail "unknown check '$what'" ;;
esac
