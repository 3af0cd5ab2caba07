#!/usr/bin/env bash
# A write of 1,000 images with the journal kept against one without it, on
# fresh copies, the order alternating, median of three rounds. Prints both
# and the ratio (target: at most 1.5).
#
# usage: bench/trust/journal-overhead.sh [path/to/quillbrook-cli] [count]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/trust/common.sh

with=() without=()
for round in 1 2 3; do
    if ((round % 2)); then
        fresh_copies; with+=("$(timed_assign)")
        fresh_copies; without+=("$(timed_assign --no-journal)")
    else
        fresh_copies; without+=("$(timed_assign --no-journal)")
        fresh_copies; with+=("$(timed_assign)")
    fi
done
journals=$(find "$XDG_STATE_HOME/quillbrook/journal" -name '*.json' | wc -l)
python3 - "${with[*]}" "${without[*]}" "$count" "$journals" <<'PY'
import statistics, sys
with_ = [float(t) for t in sys.argv[1].split()]
without = [float(t) for t in sys.argv[2].split()]
a, b = statistics.median(with_), statistics.median(without)
runs = lambda times: ", ".join(f"{t:.2f}" for t in times)
print(f"write of {sys.argv[3]} JPEGs with and without the journal (median of 3 rounds)")
print(f"  with the journal       : {a:7.2f} s  ({runs(with_)}; {sys.argv[4]} journals kept)")
print(f"  without (--no-journal) : {b:7.2f} s  ({runs(without)})")
print(f"  ratio (with / without) : {a / b:7.3f}  (target <= 1.5)")
PY
