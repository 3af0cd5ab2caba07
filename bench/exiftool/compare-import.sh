#!/usr/bin/env bash
# Direct write of 1,000 small JPEGs from a 1,000-row CSV: quillbrook-cli
# assign against exiftool's own CSV import, on identical fresh copies, in
# one run. Prints both wall times and the ratio (target: at most 1.10),
# then the time of an XMP sidecar write of the same set.
#
# usage: bench/exiftool/compare-import.sh [path/to/quillbrook-cli] [count]
set -euo pipefail
cd "$(dirname "$0")/../.."

cli=${1:-build/release/src/cli/quillbrook-cli}
count=${2:-1000}
template=examples/images/A101_0001.jpg
exiftool=$(command -v exiftool)
[ -x "$cli" ] || { echo "no quillbrook-cli at $cli; build it first" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

python3 - "$work" "$count" <<'PY'
import csv, json, os, sys
work, count = sys.argv[1], int(sys.argv[2])
rows = []
for i in range(count):
    shot = f"IMG_{i:05d}"
    rows.append((shot, f'Look {i}, "studio" take', f"Photographer {i % 7}", f"studio;red;look{i}"))
with open(os.path.join(work, "ours.csv"), "w", newline="") as f:
    w = csv.writer(f)
    w.writerow(["Shot", "Title", "Artist", "Keywords"])
    w.writerows(rows)
for side in ("theirs",):
    with open(os.path.join(work, side + ".csv"), "w", newline="") as f:
        w = csv.writer(f)
        w.writerow(["SourceFile", "XMP-dc:Title", "EXIF:Artist", "XMP-dc:Subject"])
        for shot, title, artist, keywords in rows:
            path = os.path.join(work, side, shot + ".jpg")
            w.writerow([path, title, artist, ", ".join(keywords.split(";"))])
mappings = [
    {"keyName": "Title", "destTag": "XMP-dc:Title", "actions": {"mappers": []}},
    {"keyName": "Artist", "destTag": "EXIF:Artist", "actions": {"mappers": []}},
    {"keyName": "Keywords", "destTag": "XMP-dc:Subject",
     "actions": {"mappers": [{"attributes": {"delimiter": ";"}, "type": "array"}]}},
]
with open(os.path.join(work, "mappings.json"), "w") as f:
    json.dump(mappings, f)
PY

for side in ours theirs xmp; do
    mkdir -p "$work/$side"
    for ((i = 0; i < count; i++)); do
        printf -v name 'IMG_%05d.jpg' "$i"
        cp "$template" "$work/$side/$name"
    done
done
sync

now() { date +%s.%N; }

t0=$(now)
"$cli" assign --method direct --exiftool "$exiftool" --mappings "$work/mappings.json" \
    --csv "$work/ours.csv" --key Shot --match equals "$work/ours" >/dev/null
t1=$(now)
"$exiftool" -q -csv="$work/theirs.csv" -sep ", " -overwrite_original "$work/theirs" >/dev/null
t2=$(now)
"$cli" assign --method xmp --exiftool "$exiftool" --mappings "$work/mappings.json" \
    --csv "$work/ours.csv" --key Shot --match equals "$work/xmp" >/dev/null
t3=$(now)

# Both sides must have written the same values.
ours=$("$exiftool" -q -j -XMP-dc:Title -EXIF:Artist -XMP-dc:Subject "$work/ours/IMG_00007.jpg" | grep -v SourceFile)
theirs=$("$exiftool" -q -j -XMP-dc:Title -EXIF:Artist -XMP-dc:Subject "$work/theirs/IMG_00007.jpg" | grep -v SourceFile)
[ "$ours" = "$theirs" ] || { echo "the two sides wrote different values:"; echo "$ours"; echo "$theirs"; exit 1; }
sidecars=$(find "$work/xmp" -name '*.xmp' | wc -l)

python3 - "$t0" "$t1" "$t2" "$t3" "$count" "$sidecars" <<'PY'
import sys
t0, t1, t2, t3 = map(float, sys.argv[1:5])
count, sidecars = int(sys.argv[5]), int(sys.argv[6])
ours, theirs, xmp = t1 - t0, t2 - t1, t3 - t2
print(f"direct write of {count} JPEGs from a {count}-row CSV")
print(f"  quillbrook-cli assign --method direct : {ours:7.2f} s")
print(f"  exiftool -csv= import                 : {theirs:7.2f} s")
print(f"  ratio (ours / exiftool)               : {ours / theirs:7.3f}  (target <= 1.10)")
print(f"xmp sidecar write of the same set       : {xmp:7.2f} s ({sidecars} sidecars)")
PY
