#!/usr/bin/env bash
# Installs a package into a Debian root, runs the program there, removes it and looks at what is left.
#   check-deb.sh ROOT PACKAGE.deb
# ROOT is a folder with a Debian 12 system that may be changed; one that is not there is made, and goes with the check. Needs to be
# root, and a network for the packages that ours depends on. Exit 77 where no root can be made here.
set -euo pipefail
id=io.github.morvane.Morvane

fail() {
  echo "check-deb: $*" >&2
  exit 1
}

skip() {
  echo "check-deb: skipped: $*"
  exit 77
}

[ $# -eq 2 ] || fail "usage: check-deb.sh ROOT PACKAGE.deb"
root=$(realpath -m "$1")
package=$(realpath -e "$2")
[ "$(id -u)" -eq 0 ] || skip "only root can change into another root"
[ "$root" != / ] || fail "the root must not be the one of this machine"

job=/tmp/check-deb
clean_up() {
  rm -rf "${root:?}$job"
  [ -z "${mounted:-}" ] || umount "$root/proc"
  [ -z "${made:-}" ] || rm -rf --one-file-system "${root:?}" "$root.log"
}
trap clean_up EXIT

if [ ! -e "$root" ]; then
  command -v debootstrap >/dev/null || skip "debootstrap is not installed"
  echo "== a fresh Debian root"
  made=yes
  mkdir -p "$root"
  debootstrap --variant=minbase bookworm "$root" >"$root.log" 2>&1 || skip "debootstrap made no Debian root: $(tail -1 "$root.log")"
fi
grep -q '^12' "$root/etc/debian_version" 2>/dev/null || fail "$root is not a Debian 12 root"

in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive HOME=/root "$@"; }
# The program, as a person runs it.
as_person() {
  chroot --userspec=65534:65534 "$root" env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 HOME="$job" XDG_RUNTIME_DIR="$job" sh -c "cd $job && $*"
}

in_root dpkg-query -W morvane >/dev/null 2>&1 && fail "$root has the package already; take a fresh root"

# Names and sizes of everything but what package tools, caches and the kernel keep for themselves.
list_files() {
  (cd "$root" && find . \( -path ./proc -o -path ./sys -o -path ./dev -o -path ./tmp -o -path ./run -o -path ./var/cache \
    -o -path ./var/log -o -path ./var/lib/dpkg -o -path ./var/lib/apt \) -prune \
    -o \( -type d -printf '%y %p\n' -o -printf '%y %s %p\n' \)) | sort
}

[ -e "$root/proc/self" ] || { mount -t proc proc "$root/proc"; mounted=yes; }
rm -rf "${root:?}$job"
install -d -o 65534 -g 65534 "$root$job"

# What the package asks for, and the readers of the desktop's tables. The package itself then needs no network: dpkg refuses it
# where a dependency is missing.
echo "== dependencies"
in_root apt-get update -qq
in_root apt-get satisfy -y -qq --no-install-recommends -o Dpkg::Options::=--force-unsafe-io \
  "$(dpkg-deb -f "$package" Depends)" "$(dpkg-deb -f "$package" Recommends)" \
  desktop-file-utils appstream shared-mime-info hicolor-icon-theme >"$root$job/apt.log" 2>&1 || {
  tail "$root$job/apt.log" >&2
  fail "the dependencies can't be installed"
}
list_files >"$root$job/before"

echo "== install"
cp "$package" "$root$job/morvane.deb"
in_root dpkg -i "$job/morvane.deb"
complaints=$(in_root dpkg --audit; in_root dpkg --verify morvane)
[ -z "$complaints" ] || fail "dpkg finds fault with what it installed: $complaints"
grep -q "model/obj=$id.desktop" "$root/usr/share/applications/mimeinfo.cache" ||
  fail "the desktop does not know who opens a mesh"
grep -q ':application/x-morvane-scene:' "$root/usr/share/mime/globs2" || fail "the desktop does not know the type of a project"

in_root desktop-file-validate --warn-kde "/usr/share/applications/$id.desktop"
in_root appstreamcli validate --no-net "/usr/share/metainfo/$id.metainfo.xml"

echo "== run"
version=$(as_person morvane --version)
[ "$version" = "morvane $(dpkg-deb -f "$package" Version | sed 's/-[^-]*$//')" ] || fail "the program says '$version'"
help=$(as_person morvane --help)
grep -qx ExportStl <<<"$help" || fail "the help does not list the commands"
cat >"$root$job/tiny.batch" <<'END'
NewVolume Name=ball VoxelSize=0.05
Dab Center="0 0 0" Radius=1
Report
ExportStl File=ball.stl
Render File=ball.png Width=320 Height=240
END
as_person morvane --batch tiny.batch || fail "the batch file failed"
# 80 bytes of text, the count of triangles, 50 bytes for each of them.
triangles=$(od -An -tu4 -j80 -N4 "$root$job/ball.stl" | tr -d ' ')
size=$(stat -c %s "$root$job/ball.stl")
if [ "$triangles" -lt 1000 ] || [ "$size" -ne $((84 + 50 * triangles)) ]; then
  fail "ball.stl is no ball: $triangles triangles in $size bytes"
fi
[ -s "$root$job/ball.png" ] || fail "there is no picture"

echo "== remove"
in_root dpkg --purge morvane
in_root dpkg-query -W morvane 2>/dev/null && fail "dpkg still knows the package"
list_files >"$root$job/after"
diff "$root$job/before" "$root$job/after" || fail "the removal left something (>) or took too much (<)"
echo "check-deb: all well"
