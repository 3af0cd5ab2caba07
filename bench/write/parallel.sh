#!/usr/bin/env bash
# Direct write of 1,000 small JPEGs from a 1,000-row CSV: quillbrook-cli
# assign with 1, 2 and 4 exiftool jobs against exiftool's own CSV import
# (exiftool -csv= -sep ", " -overwrite_original), on identical fresh copies,
# medians of alternating rounds (3 unless told), in one run. Prints each time and its
# ratio to exiftool's (target on 2 cores: at most 0.80 with one job per
# core, 0.60 without the journal that a write keeps by default), then the
# XMP sidecar method with one job per core. What bounds the write is shown
# in the same run: exiftool's own import split in two halves at once, the
# least two exiftools need, and the journal's read of the files alone.
#
# usage: bench/write/parallel.sh [path/to/quillbrook-cli] [count] [rounds]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/prologue.sh 1000 "$@"

python3 - "$work" "$count" "$template" "$cli" "$exiftool" "${3:-3}" <<'PY'
import csv, json, os, shutil, statistics, subprocess, sys, time

work, count, template, cli, exiftool = sys.argv[1], int(sys.argv[2]), *sys.argv[3:6]
rounds = int(sys.argv[6])
rows = [(f"IMG_{i:05d}", f'Look {i}, "studio" take', f"Photographer {i % 7}",
         f"studio;red;look{i}") for i in range(count)]
with open(os.path.join(work, "ours.csv"), "w", newline="") as f:
    w = csv.writer(f)
    w.writerow(["Shot", "Title", "Artist", "Keywords"])
    w.writerows(rows)
def their_csv(side, part=slice(None)):
    path = os.path.join(work, f"{side}-{part.start}.csv")
    with open(path, "w", newline="") as f:
        w = csv.writer(f)
        w.writerow(["SourceFile", "XMP-dc:Title", "EXIF:Artist", "XMP-dc:Subject"])
        for shot, title, artist, keywords in rows[part]:
            w.writerow([os.path.join(work, side, shot + ".jpg"), title, artist,
                        ", ".join(keywords.split(";"))])
    return path
theirs_csv = their_csv("theirs")
halves = [slice(0, count // 2), slice(count // 2, count)]
with open(os.path.join(work, "mappings.json"), "w") as f:
    json.dump([
        {"keyName": "Title", "destTag": "XMP-dc:Title", "actions": {"mappers": []}},
        {"keyName": "Artist", "destTag": "EXIF:Artist", "actions": {"mappers": []}},
        {"keyName": "Keywords", "destTag": "XMP-dc:Subject",
         "actions": {"mappers": [{"attributes": {"delimiter": ";"}, "type": "array"}]}},
    ], f)

def fresh(side):
    folder = os.path.join(work, side)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    for shot, *_ in rows:
        shutil.copyfile(template, os.path.join(folder, shot + ".jpg"))
    os.sync()
    return folder

def timed(command):
    start = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - start

def ours(side, method="direct", jobs=None, extra=()):
    folder = fresh(side)
    command = [cli, "assign", "--method", method, "--exiftool", exiftool,
               "--mappings", os.path.join(work, "mappings.json"),
               "--csv", os.path.join(work, "ours.csv"), "--key", "Shot", "--match", "equals"]
    if jobs is not None:
        command += ["--jobs", str(jobs)]
    return timed(command + list(extra) + [folder])

def theirs():
    folder = fresh("theirs")
    return timed([exiftool, "-q", "-csv=" + theirs_csv, "-sep", ", ",
                  "-overwrite_original", folder])

def at_once(commands):
    start = time.monotonic()
    for running in [subprocess.Popen(c, stdout=subprocess.DEVNULL) for c in commands]:
        if running.wait():
            sys.exit(f"{commands[0][:3]} failed")
    return time.monotonic() - start

def files(folder, part):
    return [os.path.join(folder, shot + ".jpg") for shot, *_ in rows[part]]

def theirs_in_halves():
    folder = fresh("halves")
    return at_once([[exiftool, "-q", "-csv=" + their_csv("halves", part), "-sep", ", ",
                     "-overwrite_original", *files(folder, part)] for part in halves])

def journal_read():
    # As the journal reads the values a write replaces, one exiftool a chunk.
    folder = fresh("read")
    return at_once([[exiftool, "-q", "-G0:1", "-json", "-l", "-b", "-e", "-XMP-dc:Title", "-EXIF:Artist",
                     "-XMP-dc:Subject", *files(folder, part)] for part in halves])

sides = {"1 job": lambda: ours("j1", jobs=1), "2 jobs": lambda: ours("j2", jobs=2),
         "4 jobs": lambda: ours("j4", jobs=4),
         # exiftool keeps no copy of what it replaces; like for like, neither do we.
         "2 jobs, no journal": lambda: ours("j2n", jobs=2, extra=["--no-journal"]),
         "exiftool": theirs,
         "xmp, 1 per core": lambda: ours("xmp", "xmp", jobs=0),
         "halves": theirs_in_halves, "journal read": journal_read}
times = {name: [] for name in sides}
order = list(sides)
for round in range(rounds):
    # The order turns each round, so that no side always runs first.
    for name in (order if round % 2 == 0 else order[::-1]):
        times[name].append(sides[name]())

def read(folder):
    out = subprocess.run([exiftool, "-q", "-j", "-XMP-dc:Title", "-EXIF:Artist",
                          "-XMP-dc:Subject", os.path.join(work, folder, "IMG_00007.jpg")],
                         check=True, capture_output=True, text=True).stdout
    return [{k: v for k, v in o.items() if k != "SourceFile"} for o in json.loads(out)]
for side in ("j1", "j2", "j4", "j2n"):
    if read(side) != read("theirs"):
        sys.exit(f"{side} and exiftool wrote different values: {read(side)} {read('theirs')}")
sidecars = len([n for n in os.listdir(os.path.join(work, "xmp")) if n.endswith(".xmp")])
if sidecars != count:
    sys.exit(f"{sidecars} sidecars for {count} images")

theirs_median = statistics.median(times["exiftool"])
print(f"direct write of {count} JPEGs from a {count}-row CSV, medians of {rounds} rounds "
      f"on {os.cpu_count()} cores")
for name in sides:
    median = statistics.median(times[name])
    runs = ", ".join(f"{t:.2f}" for t in times[name])
    ratio = "" if name == "exiftool" else f"  ratio {median / theirs_median:.3f}"
    label = {"exiftool": "exiftool -csv= import",
             "halves": "exiftool -csv=, 2 halves at once",
             "journal read": "the journal's read, 2 at once"}.get(name, f"quillbrook-cli, {name}")
    print(f"  {label:33s}: {median:6.2f} s ({runs}){ratio}")
print("target with one job per core: ratio at most 0.80, 0.60 with no journal")
PY
