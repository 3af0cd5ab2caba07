#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Reads a large generated .xlsx (ROWS rows of 20 columns: shared and unique
# text, leading-zero codes, whole and fractional numbers, dates, date-times
# and booleans) through readSheet() under /usr/bin/time -v, and prints the
# wall time and peak memory against the targets: 3 s and 300 MB for 100,000
# rows.
#
#   bench/spreadsheet/read-large.sh [BENCH_BINARY] [ROWS]
#
# BENCH_BINARY defaults to build/release-bench/bench/spreadsheet/qb_spreadsheet_bench,
# built with -DCMAKE_BUILD_TYPE=Release. ROWS defaults to 100000. The sheet is
# written by Debian's openpyxl (python3-openpyxl), in write-only mode.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
bench=${1:-"$here/../../build/release-bench/bench/spreadsheet/qb_spreadsheet_bench"}
rows=${2:-100000}

if [ ! -x "$bench" ]; then
    echo "no benchmark binary at $bench; build the qb_spreadsheet_bench target in Release first" >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM
file="$work/shots.xlsx"

# Debian's Python modules are seen only by the system interpreter.
/usr/bin/python3 - "$file" "$rows" <<'PY'
import datetime, random, sys
from openpyxl import Workbook

path, rows = sys.argv[1], int(sys.argv[2])
rng = random.Random(20240611)
words = ("portrait studio light window soft hard shadow model red blue linen "
         "wool coat spring autumn campaign look front back detail close wide").split()
names = ["Ann Berg", "José Müller", "Łucja Nowak", "Chloé Durand", "山田 花子", "Ravi Iyer"]
cities = ["Zürich", "São Paulo", "Köln", "東京", "New York, NY", "Reykjavík"]
cameras = ["Phase One IQ4 150MP", "Canon EOS R5", "Nikon Z 9", "Sony α7R V"]

workbook = Workbook(write_only=True)
sheet = workbook.create_sheet("Shots")
sheet.append(["ID", "FileName", "Code", "DateTimeOriginal", "ShootDate", "Title",
              "Description", "Keywords", "Creator", "City", "Country", "Rating", "Width",
              "Height", "Camera", "ISO", "Aperture", "Exposure", "Weight", "Approved"])
start = datetime.datetime(2023, 1, 1, 8, 0, 0)
for row in range(1, rows + 1):
    taken = start + datetime.timedelta(seconds=row * 37)
    sheet.append([
        row, f"IMG_{row:06d}.IIQ", f"{rng.randint(0, 99999):05d}", taken, taken.date(),
        " ".join(rng.sample(words, 3)).capitalize(),
        " ".join(rng.choice(words) for _ in range(rng.randint(6, 14))).capitalize() + ".",
        ", ".join(rng.sample(words, 4)), rng.choice(names), rng.choice(cities),
        rng.choice(["CH", "BR", "DE", "JP", "US", "IS"]), rng.randint(1, 5),
        rng.choice([8280, 6000, 8256]), rng.choice([6208, 4000, 5504]), rng.choice(cameras),
        rng.choice([50, 100, 200, 400, 800]), rng.choice([1.8, 2.8, 4, 5.6, 8, 11]),
        1 / rng.choice([60, 125, 250, 500, 1000]), round(rng.uniform(0.1, 99.9), 3),
        rng.random() < 0.8,
    ])
workbook.save(path)
PY

echo "file: $(wc -c < "$file") bytes, $rows rows of 20 columns"
/usr/bin/time -v "$bench" "$file" > "$work/out" 2> "$work/time" || {
    cat "$work/out" "$work/time" >&2
    exit 1
}
sed 's/^/  /' "$work/out"
seconds=$(sed -n 's/^seconds: //p' "$work/out")
wall=$(sed -n 's/.*Elapsed (wall clock) time (h:mm:ss or m:ss): //p' "$work/time")
peak_kib=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time")
echo "  wall clock (whole process): $wall"
echo "  maximum resident set size: $((peak_kib / 1024)) MiB"
echo "targets for 100,000 rows: read <= 3 s, peak <= 300 MB"
awk -v s="$seconds" -v kib="$peak_kib" 'BEGIN {
    mb = kib * 1024 / 1000000
    printf "read: %.2f s (%s), peak: %.0f MB (%s)\n", s, (s <= 3 ? "within" : "OVER"),
           mb, (mb <= 300 ? "within" : "OVER")
}'
