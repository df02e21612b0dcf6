#!/bin/sh
# installed-files.sh BUILD_FOLDER: what a desktop reads about the program is valid and refers to what is there.
set -eu

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --component desktop --prefix "$prefix" >"$prefix/log"
entry=$prefix/share/applications/com.rewindle.Rewindle.desktop
metainfo=$prefix/share/metainfo/com.rewindle.Rewindle.metainfo.xml
icons=$prefix/share/icons/hicolor

desktop-file-validate "$entry"
if command -v appstreamcli >/dev/null; then appstreamcli validate --no-net "$metainfo"; fi
grep -qx "Exec=$prefix/bin/rewindle" "$prefix/share/dbus-1/services/com.rewindle.Rewindle.service"
icon=$(sed -n 's/^Icon=//p' "$entry")
for size in 48x48 128x128 256x256; do [ "$(identify -format %wx%h "$icons/$size/apps/$icon.png")" = $size ]; done
for drawing in "scalable/apps/$icon" "symbolic/apps/$icon-symbolic"; do [ -s "$icons/$drawing.svg" ]; done
