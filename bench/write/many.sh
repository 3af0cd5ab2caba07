#!/usr/bin/env bash
# 20,000 small JPEGs in one batch: quillbrook-cli assign --method direct with
# one exiftool per core. Prints the wall time, the peak memory of
# quillbrook-cli and of the largest process of the run (quillbrook-cli or an
# exiftool), and checks that every file carries its values. The images are copies of one small JPEG.
#
# usage: bench/write/many.sh [path/to/quillbrook-cli] [count]
set -euo pipefail
cd "$(dirname "$0")/../.."
source bench/prologue.sh 20000 "$@"

python3 - "$work" "$count" "$template" "$cli" "$exiftool" <<'PY'
import json, os, resource, shutil, subprocess, sys, time

work, count, template, cli, exiftool = sys.argv[1], int(sys.argv[2]), *sys.argv[3:]
folder = os.path.join(work, "shoot")
os.makedirs(folder)
with open(os.path.join(work, "shots.csv"), "w") as f:
    f.write("Shot,Title,Artist,Keywords\n")
    for i in range(count):
        name = f"IMG_{i:05d}"
        f.write(f'{name},"Look {i}, studio",Photographer {i % 7},studio;look{i}\n')
        shutil.copyfile(template, os.path.join(folder, name + ".jpg"))
with open(os.path.join(work, "rows.json"), "w") as f:
    json.dump([
        {"keyName": "Title", "destTag": "XMP-dc:Title", "actions": {"mappers": []}},
        {"keyName": "Artist", "destTag": "EXIF:Artist", "actions": {"mappers": []}},
        {"keyName": "Keywords", "destTag": "XMP-dc:Subject",
         "actions": {"mappers": [{"attributes": {"delimiter": ";"}, "type": "array"}]}},
    ], f)
os.sync()

start = time.monotonic()
ours = subprocess.Popen([cli, "assign", "--method", "direct", "--exiftool", exiftool,
                         "--mappings", os.path.join(work, "rows.json"),
                         "--csv", os.path.join(work, "shots.csv"), "--key", "Shot",
                         "--match", "equals", folder],
                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
# quillbrook-cli's own high-water mark, read while it runs.
peak_kib = 0
while ours.poll() is None:
    try:
        with open(f"/proc/{ours.pid}/status") as status:
            for line in status:
                if line.startswith("VmHWM:"):
                    peak_kib = max(peak_kib, int(line.split()[1]))
    except OSError:
        pass
    time.sleep(0.05)
elapsed = time.monotonic() - start
out, err = ours.communicate()
if ours.returncode != 0:
    sys.exit(f"assign failed ({ours.returncode}): {err}")
children_kib = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss

listing = subprocess.run([exiftool, "-q", "-fast2", "-T", "-FileName", "-XMP-dc:Title", folder],
                         capture_output=True, text=True, check=True).stdout.splitlines()
right = sum(1 for line in listing
            if line.split("\t")[1] == f"Look {int(line[4:9])}, studio")

print(f"{count} JPEGs in one batch, direct, one exiftool per core ({os.cpu_count()} cores)")
print(f"  time                          : {elapsed:7.1f} s ({count / elapsed:.0f} images/s)")
print(f"  peak memory, quillbrook-cli   : {peak_kib / 1024:7.1f} MiB")
print(f"  peak memory, largest process  : {children_kib / 1024:7.1f} MiB")
print(f"  written with the right values : {right} of {count}")
print(f"  {out.strip()}")
PY
