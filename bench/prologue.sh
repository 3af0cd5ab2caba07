#!/usr/bin/env bash
# What every write benchmark starts with. Sourced from the project root as
#   source bench/prologue.sh DEFAULT_COUNT "$@"
# where the script's own arguments are [path/to/quillbrook-cli] [count]. Sets
# cli (absolute), count, template (one small JPEG), exiftool, and work: a
# scratch folder that goes when the script ends.
default_count=$1
shift
cli=$(realpath -m "${1:-build/release/src/cli/quillbrook-cli}")
count=${2:-$default_count}
template=$PWD/examples/images/A101_0001.jpg
exiftool=$(command -v exiftool)
[ -x "$cli" ] || { echo "no quillbrook-cli at $cli; build it first" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The journals the writes keep go with the scratch folder, not the user's.
export XDG_STATE_HOME="$work/state"
