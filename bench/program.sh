#!/usr/bin/env bash
# Compares runs of mb between two vCard folders of 10,000 files with plain tools on the same files, on the file system of TMPDIR with a
# warm cache. Each time is the best of several, and compared commands alternate.
# Usage: program.sh BIN [COUNT]
set -euo pipefail
bin=$(cd "$1" && pwd)
count=${2:-10000}
work=$(mktemp -d "${TMPDIR:-/tmp}/mb-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache MB_REGISTRY=$work/registry.reg

declare -A least
timed() { # name, command: keeps the shortest time of each name
    local name=$1 now
    shift
    now=$(/usr/bin/env TIMEFORMAT=%R bash -c 'time "$@" >/dev/null' _ "$@" 2>&1 | tail -n 1)
    if [ -z "${least[$name]:-}" ] || awk "BEGIN{exit !($now < ${least[$name]})}"; then least[$name]=$now; fi
}
row() { # text and name of a time, text and name of the time to compare with, limit of the ratio
    awk -v t="$1" -v a="${least[$2]}" -v n="$3" -v b="${least[$4]}" -v l="$5" \
        'BEGIN{printf "%-38s %7.3f s   %-34s %7.3f s   ratio %5.2f (wanted: at most %s)\n", t, a, n, b, a/b, l}'
}
watched() { # arguments of mb: prints its peak memory and the data it read, in MB; sampled, so the end may be missing
    "$bin/mb" "$@" >/dev/null & local pid=$! peak=0 read=0 now
    while kill -0 $pid 2>/dev/null; do
        now=$(awk '/VmHWM/{print $2}' "/proc/$pid/status" 2>/dev/null || echo 0)
        [ "${now:-0}" -gt "$peak" ] && peak=$now
        now=$(awk '/rchar/{print $2}' "/proc/$pid/io" 2>/dev/null || echo 0)
        [ "${now:-0}" -gt "$read" ] && read=$now
        sleep 0.005
    done
    wait $pid
    echo "$((peak / 1024)) $((read / 1000000))"
}
begin() { # creates a map of the two folders, without history or cache; a third argument is a field that the map leaves out
    local map
    rm -rf "$work/data" "$work/cache" "$work/registry.reg"
    mkdir -p "$work/data" "$work/cache"
    "$bin/mb" register "$bin/vcard.so" >/dev/null
    map=$("$bin/mb" add "vCard=$1" "vCard=$2" | head -n 1)
    [ $# -lt 3 ] || "$bin/mb" fields "$map" --unmap "$3" >/dev/null
}
makeCards() { # folder, an extra line for each card
    mkdir "$1"
    seq "$count" | awk -v folder="$1" -v more="$2" '{
        file = folder "/card" $1 ".vcf"
        printf "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Last%s;First%s;;;\r\nFN:First%s Last%s\r\nORG:Company %s\r\nTEL;TYPE=CELL:+1 555 %s\r\n", $1, $1, $1, $1, $1 % 100, $1 > file
        printf "EMAIL;TYPE=INTERNET:someone%s@example.org\r\nADR;TYPE=HOME:;;%s Long Street;Springfield;Oregon;%s;Country\r\n", $1, $1, 10000 + $1 > file
        printf "NOTE:A remark of some length\\, as people write them.\r\n%sEND:VCARD\r\n", more > file
        close(file)
    }'
}
expectCards() {
    [ "$(find "$1" -name '*.vcf' | wc -l)" -eq "$count" ] || { echo "the first run did not copy every card" >&2; exit 1; }
}

echo "$count cards on $(df --output=fstype "$work" | tail -n 1)"
makeCards "$work/source" ""
for _ in 1 2 3; do
    rm -rf "$work/copy" "$work/target"
    mkdir "$work/target"
    begin "$work/source" "$work/target"
    timed copy cp -r "$work/source" "$work/copy"
    timed first "$bin/mb" sync --silent
done
rm -rf "$work/copy"
expectCards "$work/target"
row "first run" first "cp -r" copy 1.5

for _ in 1 2 3 4 5; do
    timed find find "$work/source" "$work/target" -type f -printf '%s %T@\n'
    timed unchanged "$bin/mb" sync --silent
done
row "nothing changed" unchanged "find, size and time of each file" find 4

# What the exchange of details costs where there are none to exchange, and where each card has some.
measureDetails() { # name of the times, further arguments of begin()
    local name=$1 turn
    shift
    for turn in 1 2 3; do
        rm -rf "$work/target"
        mkdir "$work/target"
        begin "$work/source" "$work/target" "$@"
        timed "$name first" "$bin/mb" sync --silent
        for _ in 1 2; do timed "$name unchanged" "$bin/mb" sync --silent; done
        change "$turn"
        timed "$name changed" "$bin/mb" sync --silent
        rm -rf "$work/source" && makeCards "$work/source" "$more"
        rm -rf "$work/target" && cp -r "$work/source" "$work/target"
        begin "$work/source" "$work/target" "$@"
        timed "$name full" "$bin/mb" sync --silent
    done
    read -r memory["$name"] _ <<<"$(watched sync --silent --resync)"
}
declare -A memory
change() { # 1 % edited on each side, 0.5 % deleted
    find "$work/source" -name '*.vcf' | sort | awk 'NR % 100 == 1' | xargs sed -i "s/^ORG:.*/ORG:Edited $1\r/"
    find "$work/target" -name '*.vcf' | sort | awk 'NR % 100 == 2' | xargs sed -i "s/^NOTE:.*/NOTE:Edited $1\r/"
    find "$work/target" -name '*.vcf' | sort | awk 'NR % 200 == 3' | xargs rm
}
for turn in 1 2 3; do
    change "$turn"
    timed changed "$bin/mb" sync --silent
done
row "1 % edited on each side, 0.5 % deleted" changed "nothing changed" unchanged 2
read -r peak plain <<<"$(watched sync --silent)"
read -r resync _ <<<"$(watched sync --silent --resync)"
echo "peak memory: nothing changed $peak MB, with --resync $resync MB (wanted: under 80)"

more=
for _ in 1 2; do
    measureDetails fields Details
    measureDetails details
done
more=$'ROLE;LANGUAGE=en:Engineer\\r\\nKEY:https://example.org/key\\r\\nX-ONE:1\\r\\nitem1.X-TWO:2\\r\\nitem1.X-ABLabel:Two\\r\\n'
rm -rf "$work/source" && makeCards "$work/source" "$more"
measureDetails rich
for run in first unchanged changed full; do
    row "with details: $run" "details $run" "without: $run" "fields $run" 1.1
    row "cards with details: $run" "rich $run" "fields alone: $run" "fields $run" -
done
echo "peak memory with --resync: fields alone ${memory[fields]} MB, with details ${memory[details]} MB, cards with details ${memory[rich]} MB"

# The same again with a picture of 6 KB in each card.
rm -rf "$work/source" "$work/target"
mkdir "$work/target"
makeCards "$work/source" "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ$(head -c 8000 /dev/zero | tr '\0' A)\r\n"
begin "$work/source" "$work/target"
"$bin/mb" sync --silent >/dev/null
expectCards "$work/target"
for _ in 1 2 3 4 5; do timed pictures "$bin/mb" sync --silent; done
row "nothing changed, with pictures" pictures "the same without" unchanged 1.5
read -r peak read <<<"$(watched sync --silent)"
stored=$(du -sm --apparent-size "$work/source" "$work/target" | awk '{n += $1} END{print n}')
echo "  it read $read MB, without pictures $plain MB, of cards and pictures of $stored MB; peak memory $peak MB"
