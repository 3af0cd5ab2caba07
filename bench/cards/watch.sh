#!/usr/bin/env bash
# A card's effect on the next capture in a tethered session: makes pairs of
# 24-megapixel JPEGs (a card, then its pupil's frame), copies them one by one
# into a folder that quillbrook-cli watch --cards watches, and measures from
# the end of each card's copy to the line naming its subject, and from the
# end of the next capture's copy to the line that says it was written with
# that subject's row. Checks every capture's title, then prints the median
# and the 95th percentile of both (target: the capture's median at most
# 100 ms).
#
# usage: bench/cards/watch.sh [path/to/quillbrook-cli] [pairs]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/prologue.sh 20 "$@"
shoot=$(dirname "$cli")/../../bench/cards/qb_cards_shoot
[ -x "$shoot" ] || { echo "no qb_cards_shoot at $shoot; build it first" >&2; exit 2; }
QT_QPA_PLATFORM=offscreen "$shoot" "$work/made" --frames $((2 * count)) --every 2 --size 6000x4000

/usr/bin/python3 - "$work" "$count" "$cli" "$exiftool" <<'PY'
import json, os, shutil, signal, statistics, subprocess, sys, threading, time

work, count, cli, exiftool = sys.argv[1], int(sys.argv[2]), *sys.argv[3:]
made = os.path.join(work, "made")
live = os.path.join(work, "live")
os.makedirs(live)

def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, round(share * (len(ordered) - 1)))]

watch = subprocess.Popen([cli, "watch", "--cards", "--mappings", os.path.join(made, "rows.json"),
                          "--csv", os.path.join(made, "pupils.csv"), "--key", "Number",
                          "--method", "direct", "--exiftool", exiftool, live],
                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                         text=True)
seen = {}
def read_lines():
    for line in watch.stdout:
        seen[line.strip()] = time.monotonic()
reader = threading.Thread(target=read_lines, daemon=True)
reader.start()
if "watching" not in watch.stderr.readline():
    sys.exit("watch did not start")

def wait_for(line):
    deadline = time.monotonic() + 30
    while line not in seen and time.monotonic() < deadline:
        time.sleep(0.002)
    if line not in seen:
        sys.exit(f"never printed: {line}")
    return seen[line]

cards, captures = [], []
for i in range(count):
    card = f"IMG_{2 * i + 1:04d}.JPG"
    capture = f"IMG_{2 * i + 2:04d}.JPG"
    shutil.copyfile(os.path.join(made, "shoot", card), os.path.join(live, card))
    copied = time.monotonic()
    cards.append((wait_for(f"subject {2000 + i} (Pupil {i})") - copied) * 1000)
    time.sleep(0.3)  # the photographer lowers the card and shoots
    shutil.copyfile(os.path.join(made, "shoot", capture), os.path.join(live, capture))
    copied = time.monotonic()
    captures.append((wait_for(f"{capture}: 1 tag") - copied) * 1000)
    time.sleep(0.2)
watch.send_signal(signal.SIGTERM)
watch.wait(30)
titles = json.loads(subprocess.run([exiftool, "-j", "-XMP-dc:Title", live],
                                   capture_output=True, text=True, check=True).stdout)
for t in titles:
    number = int(os.path.basename(t["SourceFile"])[4:8])
    wanted = f"Pupil {(number - 1) // 2}" if number % 2 == 0 else None
    if t.get("Title") != wanted:
        sys.exit(f"{t['SourceFile']}: title {t.get('Title')!r}, not {wanted!r}")

print(f"watch --cards, {count} pairs of 24 MP JPEGs: a card, then its subject's frame")
print(f"  card to its subject line  : median {statistics.median(cards):6.1f} ms, "
      f"95th percentile {percentile(cards, 0.95):6.1f} ms")
print(f"  next capture to written   : median {statistics.median(captures):6.1f} ms, "
      f"95th percentile {percentile(captures, 0.95):6.1f} ms  (target: median at most 100 ms)")
PY
