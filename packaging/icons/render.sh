#!/usr/bin/env bash
# Makes the pixel icons from the drawing: packaging/icons/<size>/ for the desktop and data/Icons/Icon.png for the window.
# They are kept beside the drawing, so that a build needs no renderer. Needs rsvg-convert (package librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")"

name=io.github.morvane.Morvane
for size in 16 24 32 48 64 128 256 512; do
  mkdir -p "$size"
  rsvg-convert --width "$size" --height "$size" "scalable/$name.svg" --output "$size/$name.png"
done
cp "256/$name.png" ../../data/Icons/Icon.png
