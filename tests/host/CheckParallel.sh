#!/bin/sh
# Spreads a job over several runs of the program with GNU parallel and with Slurm, as docs/host.md shows it: runs
# the very lines of that page on a tree as cameras make them, with names that repeat.
#   $1  the program    $2  makes pairs of photographs (host_walk)    $3  a folder of the test's own    $4  docs/host.md
set -eu
if ! command -v parallel >/dev/null; then
    echo "SKIP: needs GNU parallel"
    exit 0
fi
program=$1
page=$4
rm -rf "$3"
mkdir -p "$3"
cd "$3"
work=$PWD
mkdir tools temporary
TMPDIR=$work/temporary PARALLEL_HOME=$work/temporary
export TMPDIR PARALLEL_HOME
# Hosts of a laboratory, all of them this machine. Like a real one, each has a SHELL, whatever the caller has.
cat >tools/ssh <<'TEXT'
#!/bin/sh
while [ "${1#-}" != "$1" ]; do shift; done
shift
[ "$1" != -- ] || shift
SHELL=/bin/sh exec sh -c "$*"
TEXT
# A Slurm array: all tasks at once.
cat >tools/sbatch <<'TEXT'
#!/bin/sh
[ "$1" = --array ] && [ "$3" = --wrap ]
first=${2%-*} last=${2#*-}
for task in $(seq "$first" "$last"); do
    SLURM_ARRAY_TASK_ID=$task sh -c "$4" &
done
wait
TEXT
chmod +x tools/*
PATH=$work/tools:$(dirname "$program"):$PATH
export PATH

# line TEXT: the one line of the page that has the text, with the folders of this test.
line() {
    [ "$(grep -cF -- "$1" "$page")" -eq 1 ]
    grep -F -- "$1" "$page" | sed "s,/photos,$work,g; s,^\(find.*| \)parallel,\1parallel --will-cite,"
}

# Ten photographs with five names; two formats share a name.
"$2" --pairs .
make_tree() {
    rm -rf "$work/broken" "$work/good" "$work/mended" "$work/again" "$work"/*.jsonl "$work"/part.* "$work/list.txt"
    mkdir -p good more-good broken/DCIM/100MSDCF broken/DCIM/101MSDCF
    cp sample.arw good/DSC00001.ARW
    cp sample.arw more-good/DSC00001.ARW
    for number in 1 2 3 4 5; do
        cp damaged.arw "broken/DCIM/100MSDCF/DSC0000$number.ARW"
        cp damaged.arw "broken/DCIM/101MSDCF/DSC0000$number.ARW"
        printf '%s' "$number" >>"broken/DCIM/100MSDCF/DSC0000$number.ARW" # No two are the same.
    done
}
# check RECORDS...: ten records, ten results, each that of its own damaged file.
check() {
    [ "$(cat "$@" | wc -l)" -eq 10 ]
    [ "$(cat "$@" | grep -c '"verdict":"not done"')" -eq 0 ]
    [ "$(find mended -name '*.ARW' -not -path '*/.plate-mend/*' | wc -l)" -eq 10 ]
    for number in 1 2 3 4 5; do
        [ "$(tail -c 1 "mended/DCIM/100MSDCF/DSC0000$number.ARW")" = "$number" ]
        cmp "mended/DCIM/101MSDCF/DSC0000$number.ARW" mended/DCIM/101MSDCF/DSC00001.ARW
    done
}

make_tree
eval "$(line 'parallel --jobs 2')" || true # The files with a byte too many are only partly there.
check records.jsonl

eval "$(line "grep -v '\"verdict\":\"whole\"'")" || true
[ "$(wc -l <second.jsonl)" -eq 5 ]
[ "$(find again -name '*.ARW' -not -path '*/.plate-mend/*' | wc -l)" -eq 5 ]

make_tree
eval "$(line 'parallel --sshlogin')" || true
check records.jsonl

make_tree
find broken -name '*.ARW' >list.txt
eval "$(line 'split --number')"
eval "$(line 'sbatch --array')"
check part.*.jsonl
eval "$(line 'sbatch --array')" # Again: all is finished, and nothing is done anew.
check part.*.jsonl
echo "every line of the page, ten photographs each, none lost"
