#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the .deb from the build tree, unpacks it into a scratch root the way
# dpkg lays it out, and runs the installed quillbrook-cli from there.
# Usage: deb-install.sh CPACK BUILD_DIR WORK_DIR VERSION APP_ID
set -euo pipefail
cpack=$1 build=$2 work=$3 version=$4 appid=$5

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# The folder is this test's own; a run that failed leaves it for inspection.
rm -rf "$work"
mkdir -p "$work"
if ! "$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" >"$work/cpack.log" 2>&1; then
  cat "$work/cpack.log" >&2
  fail "cpack failed"
fi
shopt -s nullglob
debs=("$work"/out/quillbrook_"$version"_*.deb)
[ ${#debs[@]} -eq 1 ] || fail "expected one quillbrook_${version}_*.deb, found: $(ls "$work/out")"
deb=${debs[0]}

depends=$(dpkg-deb --field "$deb" Depends)
echo "Depends: $depends"
for package in libimage-exiftool-perl qt6-qpa-plugins libquazip1-qt6-1 libzxing2 libqt6core6 libqt6gui6 libqt6widgets6 libicu72; do
  [[ ", $depends," =~ ,\ $package[\ ,] ]] || fail "Depends lacks $package"
done

root="$work/root"
dpkg -x "$deb" "$root"
for file in usr/bin/quillbrook usr/bin/quillbrook-cli \
  usr/share/quillbrook/CaptureOneScripting_CaptureOne.bundle/CaptureOne20Actions.applescript \
  "usr/share/applications/$appid.desktop" \
  "usr/share/icons/hicolor/scalable/apps/$appid.svg" \
  "usr/share/metainfo/$appid.metainfo.xml" \
  usr/share/doc/quillbrook/copyright; do
  [ -f "$root/$file" ] || fail "$file is not in the package"
done
[ -x "$root/usr/bin/quillbrook-cli" ] || fail "quillbrook-cli is not executable"

status=0
output=$("$root/usr/bin/quillbrook-cli" --version 2>"$work/stderr") || status=$?
[ "$status" -eq 0 ] || fail "quillbrook-cli --version exited $status: $(cat "$work/stderr")"
[ "$output" = "quillbrook-cli $version" ] || fail "quillbrook-cli --version printed '$output'"

# The installed metainfo must name the desktop file and icon installed beside it.
appstreamcli validate-tree --no-net "$root" || fail "appstreamcli validate-tree"

rm -rf "$work"
echo "PASS: $(basename "$deb")"
