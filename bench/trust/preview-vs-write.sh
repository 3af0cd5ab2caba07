#!/usr/bin/env bash
# The preview of 1,000 images against the write of the same images, on
# fresh copies, median of three rounds each. Prints both and the ratio
# (target: at most 0.5).
#
# usage: bench/trust/preview-vs-write.sh [path/to/quillbrook-cli] [count]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/trust/common.sh

previews=() writes=()
for round in 1 2 3; do
    fresh_copies
    previews+=("$(timed_assign --preview)")
    writes+=("$(timed_assign --no-journal)")
done
python3 - "${previews[*]}" "${writes[*]}" "$count" <<'PY'
import statistics, sys
preview = [float(t) for t in sys.argv[1].split()]
write = [float(t) for t in sys.argv[2].split()]
p, w = statistics.median(preview), statistics.median(write)
runs = lambda times: ", ".join(f"{t:.2f}" for t in times)
print(f"preview against write of {sys.argv[3]} JPEGs (median of 3 rounds)")
print(f"  assign --preview            : {p:7.2f} s  ({runs(preview)})")
print(f"  assign (write, no journal)  : {w:7.2f} s  ({runs(write)})")
print(f"  ratio (preview / write)     : {p / w:7.3f}  (target <= 0.5)")
PY
