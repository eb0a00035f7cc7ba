# For tests that boot the root of a host (host.bash): the init that is in it runs, and sessions are inside.
# shellcheck disable=SC2154 # the root is host.bash's

console=$HOST_WORK/console

# --- Up and down

# boot [OPTION ...]: starts the host, with options for systemd-nspawn, and waits until its init has done all that it does
# at boot.
boot() {
    settle_init
    rm -f "$root/session/up"
    umount "$root/proc" 2>/dev/null || true # it would be taken for the host's own
    systemd-nspawn --quiet --directory="$root" --machine=host --boot --register=no --keep-unit --private-network \
        --resolv-conf=off --timezone=off --console=read-only --setenv=SYSTEMD_COLORS=0 "$@" \
        </dev/null >"$console" 2>&1 3>&- &
    nspawn=$!
    until_true is_up
}

# Shuts it down as an administrator does, and waits until it is off.
shut_down() {
    if is_sysvinit; then on_host init 0; else on_host systemctl poweroff; fi
    wait "$nspawn"
    mount -o remount,rw "$root" # which it leaves read-only
    drop_cgroups
}

is_sysvinit() { [ -e "$root/etc/inittab" ]; }

# There are no terminals to serve. A sysvinit says when the last script of a level has ended; the systemd of the host
# without the generator knows no service scripts.
settle_init() {
    [ "$HOST" != systemd-native ] || rm -f "$root/lib/systemd/system-generators/systemd-sysv-generator"
    is_sysvinit || return 0
    sed -i -e '/getty/d' -e '/^up/d' "$root/etc/inittab"
    for level in 2 3 4 5; do echo "up$level:$level:once:/bin/touch /session/up" >>"$root/etc/inittab"; done
}

is_up() {
    leader=$(pgrep -P "$nspawn") || return 1
    if is_sysvinit; then
        [ -e "$root/session/up" ]
    else
        [ "$(on_host systemctl is-system-running --wait 2>/dev/null)" = running ]
    fi
}

# Asks again and again, and gives up after a minute.
until_true() {
    local deadline=$((SECONDS + 60))
    until "$@"; do
        [ "$SECONDS" -lt "$deadline" ] || return 1
        sleep 0.1
    done
}

# They are left behind empty.
drop_cgroups() {
    find /sys/fs/cgroup -depth -type d \( -path '*/payload*' -o -path '*/supervisor*' \) -exec rmdir {} + 2>/dev/null || true
}

# --- Levels

usually_boot_to_level() {
    if is_sysvinit; then
        sed -i "s/^id:.*/id:$1:initdefault:/" "$root/etc/inittab"
    else
        ln -sf "/lib/systemd/system/runlevel$1.target" "$root/etc/systemd/system/default.target"
    fi
}

change_level() {
    rm -f "$root/session/up"
    if is_sysvinit; then on_host init "$1"; else on_host systemctl isolate "runlevel$1.target"; fi
    until_true is_up
}

# --- On the booted host

on_host() {
    nsenter -t "$leader" -m -p -u -i -n -C --root --wd env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        PACKAGE_MANAGER="$PACKAGE_MANAGER" "$@" 3>&-
}

# on_booted <<'END' ... END: a session there.
on_booted() { on_host bash -c 'source /session/session.bash; source /dev/stdin'; }

# The service manager stopped the agent, rather than the kernel or a last signal to all.
expect_orderly_stop() {
    if is_sysvinit; then
        sed -n '/concurrent boot in runlevel 0/,/^Asking all remaining/p' "$console" | grep 'Zorvane Agent is stopped.'
    else
        grep 'Stopped zorvane.service' "$console"
    fi
}
