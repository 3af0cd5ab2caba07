#!/usr/bin/env bash
# Direct write of 1,000 small JPEGs from a 1,000-row CSV: quillbrook-cli
# assign against exiftool's own CSV import, on identical fresh copies, in
# one run. Prints both wall times and the ratio (target with the journal
# that a write keeps by default and one job per core: at most 0.80),
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

fresh_copies() {
    for side in "$@"; do
        rm -rf "${work:?}/$side" && mkdir -p "$work/$side"
        for ((i = 0; i < count; i++)); do
            printf -v name 'IMG_%05d.jpg' "$i"
            cp "$template" "$work/$side/$name"
        done
    done
    sync
}

now() { date +%s.%N; }
ours() {
    local t0; t0=$(now)
    "$cli" assign --method direct --exiftool "$exiftool" --mappings "$work/mappings.json" \
        --csv "$work/ours.csv" --key Shot --match equals "$work/ours" >/dev/null
    python3 -c "import sys; print(float(sys.argv[2]) - float(sys.argv[1]))" "$t0" "$(now)"
}
theirs() {
    local t0; t0=$(now)
    "$exiftool" -q -csv="$work/theirs.csv" -sep ", " -overwrite_original "$work/theirs" >/dev/null
    python3 -c "import sys; print(float(sys.argv[2]) - float(sys.argv[1]))" "$t0" "$(now)"
}

# Three rounds on fresh copies, the order alternating, so that neither side
# always runs first; the medians are compared.
ours_times=() theirs_times=()
for round in 1 2 3; do
    fresh_copies ours theirs
    if ((round % 2)); then
        ours_times+=("$(ours)"); theirs_times+=("$(theirs)")
    else
        theirs_times+=("$(theirs)"); ours_times+=("$(ours)")
    fi
done
fresh_copies xmp
t2=$(now)
"$cli" assign --method xmp --exiftool "$exiftool" --mappings "$work/mappings.json" \
    --csv "$work/ours.csv" --key Shot --match equals "$work/xmp" >/dev/null
t3=$(now)

# Both sides must have written the same values.
ours=$("$exiftool" -q -j -XMP-dc:Title -EXIF:Artist -XMP-dc:Subject "$work/ours/IMG_00007.jpg" | grep -v SourceFile)
theirs=$("$exiftool" -q -j -XMP-dc:Title -EXIF:Artist -XMP-dc:Subject "$work/theirs/IMG_00007.jpg" | grep -v SourceFile)
[ "$ours" = "$theirs" ] || { echo "the two sides wrote different values:"; echo "$ours"; echo "$theirs"; exit 1; }
sidecars=$(find "$work/xmp" -name '*.xmp' | wc -l)

python3 - "${ours_times[*]}" "${theirs_times[*]}" "$t2" "$t3" "$count" "$sidecars" <<'PY'
import statistics, sys
ours_all = [float(t) for t in sys.argv[1].split()]
theirs_all = [float(t) for t in sys.argv[2].split()]
t2, t3 = float(sys.argv[3]), float(sys.argv[4])
count, sidecars = int(sys.argv[5]), int(sys.argv[6])
ours, theirs, xmp = statistics.median(ours_all), statistics.median(theirs_all), t3 - t2
runs = lambda times: ", ".join(f"{t:.2f}" for t in times)
print(f"direct write of {count} JPEGs from a {count}-row CSV (median of 3 rounds)")
print(f"  quillbrook-cli assign --method direct : {ours:7.2f} s  ({runs(ours_all)})")
print(f"  exiftool -csv= import                 : {theirs:7.2f} s  ({runs(theirs_all)})")
print(f"  ratio (ours / exiftool)               : {ours / theirs:7.3f}  (target <= 0.80)")
print(f"xmp sidecar write of the same set       : {xmp:7.2f} s ({sidecars} sidecars)")
PY
