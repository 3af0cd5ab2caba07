#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Times CSVReader::readFile against Python's csv module on the same generated
# file (UTF-8, header line, 20 columns, quoted fields holding commas, quotes
# and line breaks), in one run, and reports our peak memory against the file.
#
#   bench/csv/compare-python.sh [BENCH_BINARY] [SIZE_MIB]
#
# BENCH_BINARY defaults to build/release-bench/bench/csv/qb_csv_bench, built
# with -DCMAKE_BUILD_TYPE=Release. SIZE_MIB defaults to 50.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
bench=${1:-"$here/../../build/release-bench/bench/csv/qb_csv_bench"}
size_mib=${2:-50}

if [ ! -x "$bench" ]; then
    echo "no benchmark binary at $bench; build the qb_csv_bench target in Release first" >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM
file="$work/shots.csv"

python3 - "$file" "$size_mib" <<'PY'
import csv, random, sys

path, size = sys.argv[1], int(sys.argv[2]) * 1024 * 1024
rng = random.Random(20240611)
words = ("portrait studio light window soft hard shadow model red blue linen "
         "wool coat spring autumn campaign look front back detail close wide "
         "outdoor indoor morning evening set retouch crop").split()
names = ["Ann Berg", "José Müller", "Łucja Nowak", "Chloé Durand", "Søren Dahl",
         "山田 花子", "Mia O'Neil", "Ravi Iyer"]
cities = ["Zürich", "São Paulo", "Köln", "東京", "New York, NY", "Reykjavík", "Paris"]
cameras = ["Phase One IQ4 150MP", "Canon EOS R5", "Nikon Z 9", "Sony α7R V"]
lenses = ["80mm LS f/2.8", "RF 50mm F1.2 L USM", "NIKKOR Z 85mm f/1.8 S", "FE 90mm F2.8 Macro"]

def sentence(lo, hi):
    text = " ".join(rng.choice(words) for _ in range(rng.randint(lo, hi)))
    return text.capitalize()

def description():
    parts = [sentence(4, 12) for _ in range(rng.randint(1, 3))]
    text = ", ".join(parts) + "."
    if rng.random() < 0.3:
        text += "\nNote: \"hero\" shot, keep for print"
    return text

header = ["ID", "FileName", "DateTimeOriginal", "Title", "Description", "Keywords",
          "Creator", "City", "Country", "Rating", "Width", "Height", "Camera", "Lens",
          "ISO", "Aperture", "Shutter", "Copyright", "Credit", "Notes"]
with open(path, "w", newline="", encoding="utf-8") as out:
    writer = csv.writer(out, lineterminator="\n")
    writer.writerow(header)
    row = 0
    while out.tell() < size:
        row += 1
        creator = rng.choice(names)
        writer.writerow([
            row, f"IMG_{row:06d}.IIQ",
            f"2023-{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d} "
            f"{rng.randint(0, 23):02d}:{rng.randint(0, 59):02d}:{rng.randint(0, 59):02d}",
            sentence(2, 6), description(), ", ".join(rng.sample(words, rng.randint(2, 6))),
            creator, rng.choice(cities), rng.choice(["CH", "BR", "DE", "JP", "US", "IS", "FR"]),
            rng.randint(1, 5), rng.choice([8280, 6000, 8256]), rng.choice([6208, 4000, 5504]),
            rng.choice(cameras), rng.choice(lenses), rng.choice([50, 100, 200, 400, 800]),
            f"f/{rng.choice(['1.8', '2.8', '4', '5.6', '8', '11'])}",
            f"1/{rng.choice([60, 125, 250, 500, 1000])}", f"© 2023 {creator}",
            "Studio Quillbrook", "" if rng.random() < 0.7 else description(),
        ])
PY

bytes=$(wc -c < "$file")
echo "file: $bytes bytes ($(wc -l < "$file") lines), 20 columns"

ours=$("$bench" "$file")
echo "$ours" | sed 's/^/  qb_csv: /'
ours_seconds=$(echo "$ours" | sed -n 's/^seconds: //p')

python_seconds=$(python3 - "$file" <<'PY'
import csv, sys, time
start = time.perf_counter()
with open(sys.argv[1], newline="", encoding="utf-8") as f:
    rows = list(csv.reader(f))
print(f"{time.perf_counter() - start:.3f}")
PY
)
echo "  python csv: seconds: $python_seconds (list(csv.reader(file)))"

python3 -c "
ours, theirs = float('$ours_seconds'), float('$python_seconds')
print(f'ratio: python / qb_csv = {theirs / ours:.2f} (above 1: qb_csv is faster)')
"
