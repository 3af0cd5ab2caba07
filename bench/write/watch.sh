#!/usr/bin/env bash
# Watch latency: copies 100 JPEGs one by one, 200 ms apart, into a folder
# that quillbrook-cli watch watches, and measures from the end of each copy
# to the line that says its metadata was written (exiftool has renamed the
# written file into place by then, so the metadata is readable). Then does
# the same with a fresh exiftool started for each copy. Prints the median
# and the 95th percentile of both, and their ratio (target: median at most
# 50 ms, against about 240 ms for a fresh exiftool per image).
#
# usage: bench/write/watch.sh [path/to/quillbrook-cli] [count]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/prologue.sh 100 "$@"

python3 - "$work" "$count" "$template" "$cli" "$exiftool" <<'PY'
import json, os, shutil, signal, statistics, subprocess, sys, threading, time

work, count, template, cli, exiftool = sys.argv[1], int(sys.argv[2]), *sys.argv[3:]
names = [f"A101_{i:04d}" for i in range(1, count + 1)]
with open(os.path.join(work, "shots.csv"), "w") as f:
    f.write("Shot,Title,Artist\n")
    for i, name in enumerate(names):
        f.write(f"{name},Look {i},Photographer {i % 7}\n")
with open(os.path.join(work, "rows.json"), "w") as f:
    json.dump([{"keyName": "Title", "destTag": "XMP-dc:Title", "actions": {"mappers": []}},
               {"keyName": "Artist", "destTag": "EXIF:Artist", "actions": {"mappers": []}}], f)
shoot = os.path.join(work, "shoot")
os.makedirs(shoot)

def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, round(share * (len(ordered) - 1)))]

# quillbrook-cli watch
watch = subprocess.Popen([cli, "watch", "--mappings", os.path.join(work, "rows.json"),
                          "--csv", os.path.join(work, "shots.csv"), "--key", "Shot",
                          "--match", "equals", "--method", "direct", "--exiftool", exiftool,
                          shoot], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
written = {}
def read_lines():
    for line in watch.stdout:
        written[line.split(":")[0]] = time.monotonic()
reader = threading.Thread(target=read_lines, daemon=True)
reader.start()
if "watching" not in watch.stderr.readline():
    sys.exit("watch did not start")
copied = {}
for name in names:
    shutil.copyfile(template, os.path.join(shoot, name + ".jpg"))
    copied[name + ".jpg"] = time.monotonic()
    time.sleep(0.2)
deadline = time.monotonic() + 30
while len(written) < count and time.monotonic() < deadline:
    time.sleep(0.05)
watch.send_signal(signal.SIGTERM)
watch.wait(30)
missing = [n for n in copied if n not in written]
if missing:
    sys.exit(f"not written: {missing[:5]} ...")
ours = [(written[n] - copied[n]) * 1000 for n in copied]
titles = json.loads(subprocess.run([exiftool, "-j", "-XMP-dc:Title", shoot],
                                   capture_output=True, text=True, check=True).stdout)
if sum(1 for t in titles if "Title" in t) != count:
    sys.exit("not every image carries its title")

# a fresh exiftool for each copy
fresh_folder = os.path.join(work, "fresh")
os.makedirs(fresh_folder)
theirs = []
for i, name in enumerate(names):
    path = os.path.join(fresh_folder, name + ".jpg")
    shutil.copyfile(template, path)
    start = time.monotonic()
    subprocess.run([exiftool, "-q", "-overwrite_original", f"-XMP-dc:Title=Look {i}",
                    f"-EXIF:Artist=Photographer {i % 7}", path], check=True)
    theirs.append((time.monotonic() - start) * 1000)

print(f"latency from the end of a copy to its metadata written, {count} JPEGs 200 ms apart")
print(f"  quillbrook-cli watch      : median {statistics.median(ours):6.1f} ms, "
      f"95th percentile {percentile(ours, 0.95):6.1f} ms")
print(f"  fresh exiftool per image  : median {statistics.median(theirs):6.1f} ms, "
      f"95th percentile {percentile(theirs, 0.95):6.1f} ms")
print(f"  ratio of the medians      : {statistics.median(ours) / statistics.median(theirs):.3f}"
      f"  (target: median at most 50 ms)")
PY
