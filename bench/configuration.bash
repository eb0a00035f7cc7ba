# A whole quiet configuration against a bare program that runs the same shell commands and makes the same files with the
# same flushes. Both must leave the same files.

# shellcheck disable=SC2154 # agent, binaries, configuration and work are those of the files that are sourced before
ours=("${configuration[@]}")
bare=("$binaries/bare-configure" "$work/list")
others=() # --run NAME COMMAND... of what else is compared

# What the host has, as lines of bare-configure's list; the content of files is kept under a number of its own.
state() {
    local path sum
    find "$agent" /etc/init.d /etc/rc?.d /usr/bin -path "$agent*" -o -name 'qdn-*' -o -name '*zorvane' |
        while read -r path; do
            if [ -L "$path" ]; then
                printf 'link\t%s\t%s\n' "$path" "$(readlink "$path")"
            elif [ -d "$path" ]; then
                printf 'directory\t%s\t%s\n' "$(stat -c %a "$path")" "$path"
            else
                sum=$(md5sum <"$path")
                cp "$path" "$work/content-${sum%% *}"
                printf 'file\t%s\t%s\t%s\n' "$(stat -c %a "$path")" "$path" "$work/content-${sum%% *}"
            fi
        done | LC_ALL=C sort
}

# The commands of a first configuration on such a host, then what it makes: the file that is handed over, the mark of a run
# that is not finished, and the difference between the states before and after. A file that was there has got another mode.
write_list() {
    local conf
    conf=$(grep "/client.conf" "$work/after" | cut -f 4)
    printf 'run\t%s\n' "ps -e | grep qdn-plug>/dev/null" "uname -p"
    printf 'file\t600\t/tmp/hand-over\t%s\n' "$conf"
    echo first >"$work/mark"
    printf 'file\t600\t%s\t%s\n' "$agent/etc/.unfinished" "$work/mark"
    LC_ALL=C comm -13 "$work/before" "$work/after" | while IFS=$'\t' read -r kind mode path content; do
        if [ "$kind" = file ] && cut -f 3 "$work/before" | grep -qxF "$path"; then kind=mode content=; fi
        printf '%s\t%s\t%s%s\n' "$kind" "$mode" "$path" "${content:+$'\t'$content}"
    done | LC_ALL=C sort
    printf 'remove\t%s\n' "$agent/etc/.unfinished" /tmp/hand-over
}

check_agreement() {
    "$work/fresh-package"
    if ! "${@:2}" >"$work/output" 2>&1; then cat "$work/output" >&2 && exit 1; fi
    state >"$work/its"
    same "$1" "$work/its" "$work/after"
}

# flushes FILE COMMAND...: the flushes of a first configuration by this command, one a line.
flushes() {
    "$work/fresh-package"
    strace -f -qq -e trace=fsync,fdatasync,sync -o "$work/trace" "${@:2}" >/dev/null
    grep -o '[a-z]*sync' "$work/trace" >"$1"
}

compare_on() {
    "$work/fresh-package" && state >"$work/before"
    "${ours[@]}" >/dev/null && state >"$work/after"
    write_list >"$work/list"
    check_agreement "bare program" "${bare[@]}"
    flushes "$work/its" "${bare[@]}"
    flushes "$work/flushes" "${ours[@]}"
    same "flushes of the bare program" "$work/its" "$work/flushes"
    compare "quiet configuration, $1" - "$(rounds 40)" --before "$work/fresh-package" --run ours "${ours[@]}" \
        --run "limit: its commands, bare C++@1.35" "${bare[@]}" "${others[@]}"
    at_most "quiet configuration, $1" "peak memory of it or a command" "$(awk 'NR == 1 { print $4 }' FS='\t' "$work/paired")" 6
}

compare_on_ext4() {
    if mount_ext4 10000 /opt; then
        compare_on ext4
    else
        echo "No ext4 can be mounted here: $(tail -n 1 "$work/why")"
    fi
}
