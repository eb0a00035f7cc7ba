# What the benchmarks share: where things are, and how comparisons become rows of the table.

# shellcheck disable=SC2034 # used by who sources this
binaries=$PWD/build/release/bench program=$PWD/build/release/qdn-configure.bin work=/run/bench

heading() {
    printf '%-30s %9s | %10s %7s | %-34s %11s %7s | %7s %7s | %s\n' \
        work size "ours, ms" MiB against ms MiB ratio cpu "at most"
}

# rounds N: so many, or a few when only the benchmarks themselves are tried.
rounds() { if [ -n "${BENCH_QUICK:-}" ] && [ "$1" -gt 2 ]; then echo 2; else echo "$1"; fi; }

# sizes LARGEST: three, tenfold each time, up to what was asked for or else to LARGEST.
sizes() {
    local largest=${BENCH_SIZE:-$1}
    [ -z "${BENCH_QUICK:-}" ] || largest=100000
    echo "$((largest / 100)) $((largest / 10)) $largest"
}

# compare WORK SIZE ROUNDS [--before COMMAND...] --run ours COMMAND... (--run NAME COMMAND...)...
# A row for each command but the first. Its name may end in "@" and the most that our time may be of its time, or that
# and the most that our processor time may be ("@1.0,1.0").
compare() {
    "$binaries/paired" "$3" "${@:4}" >"$work/paired"
    awk -F '\t' -v work="$1" -v size="$2" '
        NR == 1 { ours = $2; memory = $4; next }
        {
            verdict = ""
            split($1, name, "@")
            parts = split(name[2], most, ",")
            if (parts > 0) verdict = name[2] ($5 > most[1] + 0 || (parts > 1 && $6 > most[2] + 0) ? " MISSED" : " ok")
            printf "%-30s %9s | %10.2f %7.1f | %-34s %11.2f %7.1f | %7.3f %7.3f | %s\n",
                work, size, ours, memory, name[1], $2, $4, $5, $6, verdict
        }' "$work/paired"
    awk -F '\t' -v size="$2" 'NR == 1 { ours = $3 } $1 ~ /^limit:/ { print size, ours, $3 }' "$work/paired" >>"$work/growth"
}

# growth WORK: how our processor time, and that of the limit, has grown over the sizes that were compared since the last
# time that growth was told; a step of ours that is more than 1.25 times that of the limit is a miss.
growth() {
    awk -v work="$1" '
        $1 == size { next }
        NR > 1 {
            ours = ours sprintf(" x%.1f", $2 / our_time)
            limits = limits sprintf(" x%.1f", $3 / limit_time)
            step = ($2 / our_time) / ($3 / limit_time)
            if (step > worst) worst = step
        }
        { sizes = sizes " " $1; size = $1; our_time = $2; limit_time = $3 }
        END {
            printf "%-30s sizes%s: ours grows%s, the limit%s | at worst %.2f times the limit | 1.25 %s\n",
                work, sizes, ours, limits, worst, (worst > 1.25 ? "MISSED" : "ok")
        }' "$work/growth"
    rm "$work/growth"
}

# at_most WORK WHAT NUMBER MOST: a row for something that is no comparison.
at_most() {
    awk -v work="$1" -v what="$2" -v number="$3" -v most="$4" 'BEGIN {
        printf "%-30s %s %.2f MiB | %s\n", work, what, number, most (number > most + 0 ? " MISSED" : " ok")
    }'
}

# same WHAT FILE FILE: nothing is compared that does not give the same result.
same() {
    cmp -s "$2" "$3" || { echo "bench: $1: another result than ours" >&2; diff "$2" "$3" | head -n 20 >&2; exit 1; }
}

# mount_ext4 FILES DIRECTORY: a file system for so many files. False, and why in $work/why, where it cannot be.
mount_ext4() {
    truncate -s 4G "$work/ext4"
    mkfs.ext4 -q -F -N $(($1 + $1 / 10 + 1000)) "$work/ext4"
    mkdir -p "$2"
    mount -o loop "$work/ext4" "$2" 2>"$work/why"
}

has() { command -v "$1" >/dev/null; }

# prepare: a place to work in, and nothing at all on the real machine.
prepare() {
    : "${PRIVATE_MACHINE_CHANGES:?the benchmarks run on a private machine only: use script/bench}"
    mkdir "$work"
}
