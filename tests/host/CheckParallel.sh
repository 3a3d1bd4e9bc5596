#!/bin/sh
# Spreads a job over several runs of the program with GNU parallel, as docs/host.md shows it, on this machine.
#   $1  the program    $2  makes pairs of photographs (host_walk)    $3  a folder of the test's own
set -eu
if ! command -v parallel >/dev/null; then
    echo "SKIP: needs GNU parallel"
    exit 0
fi
program=$1
rm -rf "$3"
mkdir -p "$3"
cd "$3"
"$2" --pairs .
for number in 1 2 3 4 5 6 7; do
    cp damaged.arw "photo$number.arw"
done
find "$PWD" -name 'photo*.arw' >list.txt
PATH=$(dirname "$program"):$PATH parallel --will-cite --jobs 2 --pipe --max-replace-args 2 \
    plate-mend repair --sample "$PWD/sample.arw" --out "$PWD/mended" --files-from - --json - <list.txt >records.jsonl
[ "$(wc -l <records.jsonl)" -eq 7 ]
[ "$(grep -c '"verdict":"whole"' records.jsonl)" -eq 7 ]
for number in 1 2 3 4 5 6 7; do
    cmp mended/photo1.arw "mended/photo$number.arw"
done
# The records are a list of files again.
"$program" repair --resume --quiet --sample sample.arw --out mended --files-from records.jsonl
echo "seven files, four runs, all whole"
