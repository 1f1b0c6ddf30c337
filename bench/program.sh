#!/usr/bin/env bash
# mb from vCard folder to vCard folder with 10,000 files, beside plain tools on the same files. Each time is the best of three, except
# the first run, of which there is one each time in a fresh folder.
# Usage: program.sh BIN [COUNT]
set -euo pipefail
bin=$(cd "$1" && pwd)
count=${2:-10000}
work=$(mktemp -d "${TMPDIR:-/tmp}/mb-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config MB_REGISTRY=$work/registry.reg
mkdir "$work/data" "$work/source" "$work/target"

seconds() { # of a command, with its peak memory in KiB behind it
    /usr/bin/env TIMEFORMAT=%R bash -c 'time "$@" >/dev/null' _ "$@" 2>&1 | tail -n 1
}
best() {
    local least=""
    for _ in 1 2 3; do
        local now
        now=$(seconds "$@")
        if [ -z "$least" ] || awk "BEGIN{exit !($now < $least)}"; then least=$now; fi
    done
    echo "$least"
}
row() { # text, time, name of the measure, its time, limit
    awk -v t="$1" -v a="$2" -v n="$3" -v b="$4" -v l="$5" 'BEGIN{printf "%-38s %7.3f s   %-34s %7.3f s   ratio %5.2f (wanted: at most %s)\n", t, a, n, b, a/b, l}'
}

for i in $(seq "$count"); do
    printf 'BEGIN:VCARD\r\nVERSION:3.0\r\nN:Last%s;First%s;;;\r\nFN:First%s Last%s\r\nORG:Company %s\r\nTEL;TYPE=CELL:+1 555 %s\r\nEMAIL:someone%s@example.org\r\nADR;TYPE=HOME:;;%s Long Street;Springfield;Oregon;%s;Country\r\nNOTE:A remark of some length\\, as people write them.\r\nEND:VCARD\r\n' \
        "$i" "$i" "$i" "$i" $((i % 100)) "$i" "$i" "$i" $((10000 + i)) >"$work/source/card$i.vcf"
done
"$bin/mb" register "$bin/vcard.so" >/dev/null
"$bin/mb" add "vCard=$work/source" "vCard=$work/target" >/dev/null

copying=$(best sh -c "rm -rf '$work/copy' && cp -r '$work/source' '$work/copy'")
first=$(seconds "$bin/mb" sync --silent)
[ "$(find "$work/target" -name '*.vcf' | wc -l)" -eq "$count" ] || { echo "the first run did not copy every card" >&2; exit 1; }
row "first run, $count cards" "$first" "cp -r" "$copying" 1.5

finding=$(best find "$work/source" "$work/target" -type f -printf '%s %T@\n')
unchanged=$(best "$bin/mb" sync --silent)
row "nothing changed" "$unchanged" "find, size and time of each file" "$finding" 4

change() { # 1 % edited on each side, 0.5 % deleted
    local n=0 file
    find "$work/source" -name '*.vcf' | sort | awk 'NR % 100 == 1' | xargs sed -i "s/^ORG:.*/ORG:Edited $1\r/"
    find "$work/target" -name '*.vcf' | sort | awk 'NR % 100 == 2' | xargs sed -i "s/^NOTE:.*/NOTE:Edited $1\r/"
    find "$work/target" -name '*.vcf' | sort | awk 'NR % 200 == 3' | xargs rm
}
changed=""
for turn in 1 2 3; do
    change "$turn"
    now=$(seconds "$bin/mb" sync --silent)
    if [ -z "$changed" ] || awk "BEGIN{exit !($now < $changed)}"; then changed=$now; fi
done
row "1 % edited on each side, 0.5 % deleted" "$changed" "nothing changed" "$unchanged" 2

"$bin/mb" sync --silent --resync >/dev/null & pid=$!
peak=0
while kill -0 $pid 2>/dev/null; do
    now=$(awk '/VmHWM/{print $2}' "/proc/$pid/status" 2>/dev/null || echo 0)
    [ "${now:-0}" -gt "$peak" ] && peak=$now
    sleep 0.005
done
echo "peak memory of a run over all cards       $((peak / 1024)) MB (wanted: under 80)"
