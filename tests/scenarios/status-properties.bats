# Whatever was configured freshly on whatever host: it is as it was configured; and whatever of it is damaged is named, and
# mended by configuring again. Random installations and damages; SEED=number repeats those of a run that failed,
# NUMBER=number makes more of them.
load support
load random-installation

eval "seed() { echo ${SEED:-$SRANDOM}; }" # functions are what a session is given
eval "how_many() { echo ${NUMBER:-12}; }"
eval "damages() { echo ${DAMAGES:-15}; }" # "all", or so many

# The document of -status, of the agent in the picked directory.
look() {
    status=0
    (cd / && QDNCLIENT_CONFIG_XML_DIR=$desk "$program" -status -json "$installdir" >"$desk/status" 2>"$desk/err") || status=$?
}

# One line for each difference: action and path.
differences() {
    python3 -c '
import json, sys
for d in json.load(open(sys.argv[1]))["differences"]: print(d["action"], d["path"])' "$desk/status"
}

expect_in_order() {
    [ "$status" -eq 3 ] || { cat "$desk/status" "$desk/err"; fail "status $status"; }
    [ -z "$(differences)" ] || fail "$(differences)"
    [ ! -s "$desk/err" ] || fail "$(cat "$desk/err")"
}

given_a_fresh_installation() {
    pick_installation
    given_the_picked_xml
    given_a_foreign_host
    lay_the_package_down
    run_quietly -configure -noimode -nosearch
    [ "$status" -eq 0 ] || { cat "$desk/err"; fail "the configuration failed"; }
}

@test "a fresh installation is as it was configured" {
    echo "seed $(seed)"
    trap 'declare -p installdir bindir queue tasks packages swd logdir tempdir guiddir version boot anyone guid levels helper foreign' EXIT
    "$project/package/lay-down" "$desk/package" "$program"
    RANDOM=$(seed)
    for ((number = 1; number <= $(how_many); ++number)); do
        given_a_fresh_installation
        look
        expect_in_order
        run_quietly -clean "$installdir"
        clear_the_host
    done
}

# Everything that the configuration has made or set, and what can become of it: one line for each, damage and path.
# Whatever else is in client.conf, in the file of the identifier or in the package's own files would be kept.
possible_damages() {
    python3 - "$1" <<'END'
import json, sys
KEPT = ("/etc/client.conf", "/etc/host.GUID")
for change in json.load(open(sys.argv[1]))["changes"]:
    path, action, kind = change["path"], change["action"], change["type"]
    if action not in ("create", "change"):
        continue
    is_new = action == "create" and not path.endswith(KEPT)
    damages = {
        "link": ["remove", "target", "owner"],
        "file": (["remove", "edit"] if is_new else []) + ["mode", "owner"],
        "directory": ["remove"] if is_new else ["mode"],
    }[kind]
    for damage in damages:
        print(damage, path)
END
}

damage() {
    case $1 in
        remove) rm -r "$2" ;;
        edit) echo "# edited" >>"$2" ;;
        mode) chmod a+rwx "$2" ;;
        owner) chown -h 1234:1234 "$2" ;;
        target) ln -sfn /nowhere "$2" ;;
    esac
}

# What is damaged, or a directory above it, is named, and nothing else. What went with a directory is named, too.
expect_named() {
    local path
    [ "$status" -eq 1 ] || { cat "$desk/status" "$desk/err"; fail "status $status after: $1 $2"; }
    differences >"$desk/differences"
    cut -d ' ' -f 2- "$desk/differences" | grep -qxF "$2" || { cat "$desk/differences"; fail "not named: $1 $2"; }
    while read -r _ path; do
        [ "$path" = "$2" ] || [ "$path" != "${path#"$2"/}" ] || fail "after $1 $2, $path is named, too"
    done <"$desk/differences"
}

mend() {
    # A link that leads elsewhere than to an agent is nobody's to replace.
    if [ "$1" = target ] && [ "${2%/*}" = /usr/local/bin ]; then rm "$2"; fi
    local -a command=(-configure -noimode -nosearch -quiet -dir "$installdir")
    ! in_one_of 2 || command=(-apply -yes "${command[@]}")
    status=0
    QDN_INSTALL_AUTOSTART=no QDNCLIENT_CONFIG_FILE=$installdir/etc/client.conf "$program" "${command[@]}" \
        >"$desk/out" 2>"$desk/err" || status=$?
    [ "$status" -eq 0 ] || { cat "$desk/err"; fail "not mended: $1 $2"; }
}

@test "whatever is damaged of what a configuration has made is named, and configuring again, also by -apply, mends it" {
    echo "seed $(seed)"
    installdir=$agent
    printf '#!/bin/sh\n' >/usr/sbin/systemctl && chmod 0755 /usr/sbin/systemctl
    given_the_package
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings Start="no" RunLevel="rc2;rc3;rc5" StartupOnBoot="yes" AllowNonRoot="no">
    <InstallDir>$agent</InstallDir><BinDir>/usr/local/bin</BinDir><TasksDir>/var/lib/zorvane/tasks</TasksDir>
  </Settings>
</KSAgentConfiguration>
END
    "$program" -preview -json -configure -noimode >"$desk/document"
    "$program" -configure -noimode -quiet >"$desk/out"
    rm -f "/tmp/$xml"
    possible_damages "$desk/document" >"$desk/possible"
    # On an ordinary user's private machine there is nobody but root.
    chown 1234 "$desk/possible" 2>/dev/null || sed -i '/^owner /d' "$desk/possible"
    [ "$(wc -l <"$desk/possible")" -ge 60 ] || fail "only $(wc -l <"$desk/possible") damages"
    RANDOM=$(seed)
    look
    expect_in_order
    while read -r -u 8 what path; do
        damage "$what" "$path"
        look
        expect_named "$what" "$path"
        mend "$what" "$path"
        look
        expect_in_order
    done 8< <(if [ "$(damages)" = all ]; then cat "$desk/possible"; else
        shuf -n "$(damages)" --random-source=<(while :; do echo "$RANDOM"; done) "$desk/possible"; fi)
}

each_test_is_a_session
