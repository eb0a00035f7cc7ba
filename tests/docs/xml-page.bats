# qdn-agent-install-config.xml(5) against the program: every setting, its default, and what becomes of it.
load ../scenarios/support
load ../scenarios/old-agent
load pages

page() { section qdn-agent-install-config.xml.5 "$@"; }

# The page's settings, one a line: element that they are in, name, default, keys of client.conf, with "|" between.
rows() {
    local of
    while IFS= read -r of; do
        page SETTINGS "$of" | awk -v parent="${of##* }" '
            function row() { if (name != "") print parent "|" name "|" value "|" keys; keys = "" }
            /^\.It Cm / {
                row()
                name = value = $3
                gsub(/^<|[=>].*/, "", name)
                gsub(/^[^=>]*(="|>)|"$|<\/.*/, "", value)
            }
            /^\.Pq Cm / { keys = substr($0, 8); gsub(/ ,/, "", keys) }
            END { row() }'
    done < <(sed -n 's/^\.Ss \(\(Attributes\|Elements\) of .*\)/\1/p' "$project/docs/qdn-agent-install-config.xml.5")
}

# The document of `setting`, an array of values by "parent name".
document() {
    cat <<END
<KSAgentConfiguration>
  $(elements KSAgentConfiguration)
  <Settings $(attributes Settings)>
    $(elements Settings)
    <CurlSSL $(attributes CurlSSL)/>
    <EventLog $(attributes EventLog)/>
  </Settings>
  <ExtraConfigSettings><Setting $(attributes Setting)/></ExtraConfigSettings>
</KSAgentConfiguration>
END
}

# named PARENT PATTERN: which of its attributes or elements, which are written as <...>, are set.
named() { printf '%s\n' "${!setting[@]}" | sed -n "s/^$1 \($2\)\$/\1/p" | sort; }
elements() {
    local name
    for name in $(named "$1" '<.*>'); do printf '%s%s</%s' "$name" "${setting["$1 $name"]}" "${name#<}"; done
}
attributes() {
    local name
    for name in $(named "$1" '[^<]*'); do printf '%s="%s" ' "$name" "${setting["$1 $name"]}"; done
}

# set_value PARENT NAME VALUE: an attribute or an element, as the page has it.
set_value() {
    if grep -qF -e "<$2>" "$project/docs/qdn-agent-install-config.xml.5"; then
        setting["$1 <$2>"]=$3
    else
        setting["$1 $2"]=$3
    fi
}

plain_settings() {
    setting=()
    set_value KSAgentConfiguration KSName kell.example
    set_value Settings InstallDir "$agent"
    set_value Settings RunLevel "rc2;rc3;rc5"
    set_value Settings Start no
    set_value Settings Upgrade no
}

# change PARENT NAME DEFAULT: to something else that is allowed.
change() {
    case $2:$3 in
        KSPort:) set_value "$1" "$2" 8080 ;;
        KSProtocol:*) set_value "$1" "$2" https ;;
        *KSIPAddress:*) set_value "$1" UseKSIPAddress yes; set_value "$1" KSIPAddress 192.0.2.1 ;;
        RunLevel:*) set_value "$1" "$2" rc4 ;;
        *Level:*) set_value "$1" "$2" info ;;
        LogSize:*) set_value "$1" "$2" 7 ;;
        Start:* | Upgrade:* | InstallDir:*) ;; # as they are in every run here
        Section:* | Name:* | Value:*) set_value Setting Section Tickle; set_value Setting Name enabled
            set_value Setting Value no ;;
        *:yes) set_value "$1" "$2" no ;;
        *:no) set_value "$1" "$2" yes ;;
        *:/* | *:%*) set_value "$1" "$2" "/opt/changed/$2" ;;
        *) set_value "$1" "$2" changed ;;
    esac
}

configure_from_settings() {
    document | given_xml /tmp
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

# Keys of client.conf that are not as they were in FILE.
changed_keys() {
    { diff "$1" "$agent/etc/client.conf" || true; } | sed -n 's/^[<>] \([^=]*\)=.*/\1/p' | sort -u
}

given_a_plain_agent() {
    given_the_package
    mkdir -p /opt/changed/BinDir
    plain_settings
    configure_from_settings
    expect_no_errors
    cp "$agent/etc/client.conf" "$desk/plain.conf"
}

@test "its settings are those of the schema" {
    same_lists settings <(
        sed -nE 's/.*<xs:(element|attribute) name="([A-Za-z0-9]*)".*/\2/p' "$project/docs/qdn-agent-install-config.xsd" |
            grep -vxE 'KSAgentConfiguration|Settings|CurlSSL|EventLog|ExtraConfigSettings|Setting'
    ) <(rows | cut -d '|' -f 2)
}

@test "its defaults are the built-in ones" {
    sed 1d "$project/settings/default-config.xml" | grep -oE '[A-Za-z]+="[^"]+"|<[A-Za-z]+>[^<]+<' |
        sed 's/[<"]//g; s/>/=/' >"$desk/defaults"
    [ "$(wc -l <"$desk/defaults")" -gt 20 ]
    same_lists defaults "$desk/defaults" <(rows | awk -F '|' '$3 != "" { print $2 "=" $3 }')
}

@test "each setting becomes the keys that it says, and no others" {
    declare -A setting
    local parent name default keys
    given_a_plain_agent
    while IFS='|' read -r parent name default keys <&3; do
        [ "$name" != InstallDir ] || continue # every path follows it
        plain_settings
        change "$parent" "$name" "$default"
        configure_from_settings
        expect_no_errors
        changed_keys "$desk/plain.conf" | same "keys of $name" <(tr ' ' '\n' <<<"$keys" | sed '/^$/d' | sort)
    done 3< <(rows)
}

@test "on an upgrade the server, the identifier and what is no part of client.conf count, and no more" {
    declare -A setting
    local parent name default
    given_a_plain_agent
    while IFS='|' read -r parent name default _ <&3; do change "$parent" "$name" "$default"; done 3< <(rows)
    set_value Settings Upgrade yes
    configure_from_settings
    sed -E "s,^WARNING! /tmp/$xml(:[0-9]+:[0-9]+)?: ,,; s/ .* is not used: the installed agent has .*//" "$desk/err" |
        same "values that are told as not used" <(
            rows | cut -d '|' -f 1,2 | grep -vE '^Setting\||\|(KSName|KSPort|KSProtocol|Guid|UseKSIPAddress|KSIPAddress)$' |
                cut -d '|' -f 2 | grep -vxE 'InstallDir|Upgrade|Start|AllowNonRoot|StartupOnBoot' | LC_ALL=C sort
            echo "1 extra settings are not used: an upgrade keeps those of the installed agent."
        )
    changed_keys "$desk/plain.conf" |
        same "changed keys" <(printf '%s\n' allow_non_root ks_url_format server-1 startup_on_boot)
    grep -qx '{CHANGED}' "$agent/etc/host.GUID"
    expect_missing /etc/init.d/zorvane
    [ "$(stat -c %a "$agent/bin/qdn-monitor")" = 544 ]
}

@test "without an upgrade the values of the installed agent are given up, and its data is kept" {
    declare -A setting
    given_an_old_agent 6.2
    given_the_package
    plain_settings
    configure_from_settings
    expect_no_errors
    expect_value Configuration package_retry_delay 60
    expect_value "Client Details" SerialNumber ""
    grep -qx "event one" "$agent/var/queue/one.kse"
    grep -qx "task one" "$agent/var/tasks/one.kst"
}

@test "without run levels the agent is registered in none" {
    declare -A setting
    given_a_plain_agent
    plain_settings
    unset 'setting[Settings RunLevel]'
    configure_from_settings
    expect_errors <<<"WARNING! No run level is configured: the agent is not started when the host boots."
    expect_value Configuration runlevels_start ""
    expect_missing /etc/rc?.d/[SK]??zorvane
}

@test "a run fails if no source gives the agent's directory" {
    declare -A setting
    given_the_package
    plain_settings
    unset 'setting[Settings <InstallDir>]'
    document | given_xml /tmp
    qdn_configure -configure -noimode
    expect_status 1
    expect_errors <<<"ERROR: Missing file in install. File://etc/client.proto"
}

@test "its example and its way of checking a file work" {
    page EXAMPLES | sed -n '/^\.Bd/,/^\.Ed/{ /^\./d; p; }' >"$desk/example.xml"
    [ -s "$desk/example.xml" ]
    page DESCRIPTION Format | sed -n '/^xmllint/,/xsd FILE/p' |
        sed "s,\\\\e\$,\\\\,; s,/usr/share/qdn-configure,$project/docs,; s,FILE,$desk/example.xml," >"$desk/check"
    bash "$desk/check"
}

@test "its files are installed" {
    page FILES | items Pa >"$desk/files"
    [ "$(wc -l <"$desk/files")" -eq 2 ]
    while read -r path; do
        grep -q "^-rw-r--r-- $path" "$project/tests/docs/install.bats" || fail "$path is not installed"
    done <"$desk/files"
}

each_test_is_a_session
