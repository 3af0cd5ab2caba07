#!/usr/bin/env bash
# A catalogue export of 2,000,000 rows (about 200 MB) read by `assign
# --dry-run` for two images and by `csv` to JSON: time and peak memory of
# each, against the file's size.
#   bash bench/csv/big-table.sh [path/to/quillbrook-cli] [rows]
set -euo pipefail
cd "$(dirname "$0")/../.."
cli=$(realpath -m "${1:-build/release/src/cli/quillbrook-cli}")
rows=${2:-2000000}
[ -x "$cli" ] || { echo "no quillbrook-cli at $cli; build it first" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_STATE_HOME="$work/state"

python3 - "$work/catalogue.csv" "$rows" <<'PY'
import random, sys
path, rows = sys.argv[1], int(sys.argv[2])
random.seed(7)
words = "red blue coat shoe spring autumn studio north south lake city harbour".split()
with open(path, "w", encoding="utf-8", newline="") as out:
    out.write("Shot,Title,Photographer,Keywords,City,Date,Caption\n")
    for i in range(rows):
        title = " ".join(random.choice(words) for _ in range(3))
        keywords = ";".join(random.choice(words) for _ in range(4))
        caption = '"' + " ".join(random.choice(words) for _ in range(5)) + ', "quoted"' .replace('"quoted"', '""quoted""') + '"'
        out.write(f"S{i:07d},{title},Ana Lindqvist,{keywords},Malmö,2024-0{1 + i % 9}-1{i % 9},{caption}\n")
PY
size=$(stat -c %s "$work/catalogue.csv")
mkdir -p "$work/shoot"
cp examples/images/A101_0001.jpg "$work/shoot/S0000001_1.jpg"
cp examples/images/A101_0001.jpg "$work/shoot/S1999999_1.jpg"
printf '[{"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}]' > "$work/rules.json"

measure() { # label, then the command
    local label=$1; shift
    /usr/bin/time -v "$@" > "$work/out" 2> "$work/time" || { cat "$work/time" >&2; exit 1; }
    local peak wall
    peak=$(awk '/Maximum resident set size/ {print $6}' "$work/time")
    wall=$(awk '/Elapsed \(wall clock\)/ {print $8}' "$work/time")
    awk -v l="$label" -v p="$peak" -v s="$size" -v w="$wall" 'BEGIN {
        printf "%-34s %8s s  peak %7.1f MiB  %.2fx the file\n", l, w, p / 1024, p * 1024 / s }'
}

printf 'catalogue: %d rows, %.1f MiB\n' "$rows" "$(echo "$size / 1048576" | bc -l)"
measure "assign --dry-run (2 images)" "$cli" assign --dry-run --csv "$work/catalogue.csv" \
    --key Shot --mappings "$work/rules.json" "$work/shoot"
grep -q '"XMP-dc:Title"' "$work/out" || { echo "the dry run wrote no titles" >&2; exit 1; }
measure "csv to JSON" "$cli" csv "$work/catalogue.csv"
echo "goal: at most 4x the file and 10 s each"
