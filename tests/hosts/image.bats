# Hosts that are made of images: with a system that is read-only while it runs, and with an agent that is configured when a
# host starts for the first time.
# shellcheck disable=SC2154 # the root is host.bash's

load host
load boot

unit=qdn-ksclt-first-boot.service
var=/opt/zorvane/kell/ksagent/var

@test "an agent that was configured in the image runs where only its state can be written" {
    in_root <<'END'
given_xml
install 6.0.350
expect_status 0
END
    # The host's /var begins empty, and so does the agent's.
    boot --volatile=state --tmpfs="$var"
    on_booted <<'END'
for place in /usr /etc /opt "$agent/etc"; do
    if { : >"$place/new"; } 2>/dev/null; then echo "$place can be written"; exit 1; fi
done
expect_running
expect_active
"$agent/bin/rcscript" stop
expect_not_running
"$agent/bin/rcscript" start
expect_running
expect_active
END
    shut_down
}

@test "on a host whose configuration is read-only a run says which place it is, before it changes anything" {
    in_root <<'END'
given_xml
install 6.0.350
expect_status 0
END
    boot --volatile=state --tmpfs="$var"
    on_booted <<'END'
"$agent/bin/rcscript" stop
status=0
"$program" -configure -noimode >/dev/null 2>/run/err </dev/null || status=$?
cat /run/err
expect_status 1
grep -q '^  /.*: Read-only file system$' /run/err
"$agent/bin/rcscript" start
expect_running
END
    shut_down
}

# An image with the package, whose hosts learn the server from a file, and who they are at their first boot. That enables
# whatever no preset forbids, so that something waits for a network that is not there.
prepare_image() {
    in_root <<'END'
install 6.0.350
expect_status 0
[ ! -e "$conf" ]
echo QDN_INSTALL_KSNAME=kell.example >/etc/default/qdn-ksclt
echo uninitialized >/etc/machine-id
systemctl --quiet mask systemd-networkd-wait-online.service
END
}

@test "an image configures its agent at the first boot, and never again" {
    prepare_image
    in_root <<<"systemctl --quiet enable $unit"
    boot
    on_booted <<END
systemctl is-active $unit
expect_value server-1 kell.example
expect_running
expect_active
sed -i 's/^Location=.*/Location=Rack 7/' "\$conf"
END
    shut_down
    boot
    on_booted <<END
expect_same no "\$(systemctl show -P ConditionResult $unit)"
expect_value Location "Rack 7"
expect_running
erase
expect_status 0
expect_same "" "\$(find /etc/systemd -name $unit)"
END
    shut_down
}

@test "every host whose image is read-only, and forgets all at its end, configures its agent anew" {
    prepare_image
    in_root <<END
systemctl --quiet enable $unit
echo QDN_INSTALL_AUTOSTART=no >>/etc/default/qdn-ksclt
END
    for _ in first second; do
        boot --volatile=overlay
        on_booted <<<"systemctl is-active $unit; expect_value server-1 kell.example"
        shut_down
        # shellcheck disable=SC2016 # for the shell in the root
        in_root <<<'[ ! -e "$conf" ]'
    done
}

@test "a host whose image did not ask for it is not configured at its first boot" {
    prepare_image
    boot
    on_booted <<END
expect_same disabled "\$(systemctl is-enabled $unit || true)"
[ ! -e "\$conf" ]
expect_not_running
END
    shut_down
}
