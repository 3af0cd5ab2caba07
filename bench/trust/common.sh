#!/usr/bin/env bash
# Shared set-up of the write benchmarks: a CSV of $count rows, its mappings
# and fresh copies of one small JPEG. Sourced, not run.
source bench/prologue.sh 1000 "$@"

python3 - "$work" "$count" <<'PY'
import csv, json, os, sys
work, count = sys.argv[1], int(sys.argv[2])
with open(os.path.join(work, "rows.csv"), "w", newline="") as f:
    w = csv.writer(f)
    w.writerow(["Shot", "Title", "City", "Keywords"])
    for i in range(count):
        w.writerow([f"IMG_{i:05d}", f"Look {i}", "Malmö, 東京", f"studio;look{i}"])
mappings = [
    {"keyName": "Title", "destTag": "XMP-dc:Title", "actions": {"mappers": []}},
    {"keyName": "City", "destTag": "IPTC:City", "actions": {"mappers": []}},
    {"keyName": "Keywords", "destTag": "XMP-dc:Subject",
     "actions": {"mappers": [{"attributes": {"delimiter": ";"}, "type": "array"}]}},
]
with open(os.path.join(work, "mappings.json"), "w") as f:
    json.dump(mappings, f)
PY

fresh_copies() {
    rm -rf "${work:?}/images" && mkdir -p "$work/images"
    for ((i = 0; i < count; i++)); do
        printf -v name 'IMG_%05d.jpg' "$i"
        cp "$template" "$work/images/$name"
    done
    sync
}

now() { date +%s.%N; }
# Seconds that `assign` with the extra options takes on the images.
timed_assign() {
    local t0; t0=$(now)
    "$cli" assign --method direct --exiftool "$exiftool" --mappings "$work/mappings.json" \
        --csv "$work/rows.csv" --key Shot --match equals "$@" "$work/images" >/dev/null
    python3 -c "import sys; print(float(sys.argv[2]) - float(sys.argv[1]))" "$t0" "$(now)"
}
