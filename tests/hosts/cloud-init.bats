# A host that learns from cloud-init what it is: Debian's, with the seed of its first boot in a directory.
# shellcheck disable=SC2154 # the root is host.bash's

load host
load boot

@test "the user data of the example configures the agent at the first boot, and leaves no XML file" {
    in_root <<'END'
install 6.0.350
expect_status 0
END
    seed=$root/var/lib/cloud/seed/nocloud
    mkdir -p "$seed"
    cp docs/examples/cloud-init.yaml "$seed/user-data"
    echo "instance-id: first" >"$seed/meta-data"
    # What a container cannot do, or has not.
    cat >"$root/etc/cloud/cloud.cfg.d/99-test.cfg" <<'END'
datasource_list: [NoCloud]
network: {config: disabled}
cloud_init_modules: [write-files]
cloud_config_modules: [runcmd]
cloud_final_modules: [scripts-user]
END
    boot
    on_booted <<'END'
expect_same "status: done" "$(cloud-init status)"
expect_value server-1 kell.example.com
expect_value ks_url_format 'https://%server%/Zorvane/'
expect_running
expect_active
[ ! -e /opt/zorvane/.qdn-agent-install-config.xml ]
END
    shut_down
}
