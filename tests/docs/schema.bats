# The schema of the XML configuration file, and the sample files: the schema accepts every sample, refuses what an
# administrator is likely to get wrong, and knows the settings that the program reads; the samples do what they say.
load ../scenarios/support

schema() { xmllint --noout --schema "$project/docs/qdn-agent-install-config.xsd" "$@"; }

expect_valid() {
    local file
    for file; do schema "$file" 2>"$desk/why" || { cat "$desk/why"; return 1; }; done
}

# expect_refused WHAT: the document on standard input is not valid because of the element, attribute or value WHAT.
expect_refused() {
    local result=0
    schema - 2>"$desk/why" || result=$?
    [ "$result" -eq 3 ] || fail "status $result for $1"
    grep -qF "$1" "$desk/why" || { cat "$desk/why"; fail "not refused for $1"; }
}

# A document with something in its root, or in its Settings.
document() { printf '<KSAgentConfiguration>%s</KSAgentConfiguration>\n' "$1"; }
settings() { document "<Settings RunLevel=\"rc3\" $1>${2:-}</Settings>"; }

# What the program reads: the rows of its tables, and the few that it asks for by name.
settings_of_the_program() {
    awk '/^constexpr (const wchar_t\*|SettingName) k[A-Za-z]*(Settings|Attributes)\[\]/ { inside = 1 } inside; /;/ { inside = 0 }' \
        "$project/settings/XmlConfig.cpp" | sed -n 's/[^"]*"\([A-Za-z0-9]*\)"[^"]*/\1\n/gp' |
        grep . | cat - <(printf '%s\n' KSPort KSIPAddress Section Name Value) | LC_ALL=C sort
}

settings_of_the_schema() {
    sed -nE 's/.*<xs:(element|attribute) name="([A-Za-z0-9]*)".*/\2/p' "$project/docs/qdn-agent-install-config.xsd" |
        grep -vxE 'KSAgentConfiguration|Settings|CurlSSL|EventLog|ExtraConfigSettings|Setting' | LC_ALL=C sort
}

@test "the schema knows the settings that the program reads, and no others" {
    settings_of_the_program >"$desk/program"
    [ "$(wc -l <"$desk/program")" -gt 40 ]
    settings_of_the_schema | same "settings of the schema" "$desk/program"
}

@test "the built-in document, every sample and the one in README.md are valid" {
    sed -n '/^    <KSAgentConfiguration>/,/^    <\/KSAgentConfiguration>/p' "$project/README.md" >"$desk/readme.xml"
    expect_valid "$project/settings/default-config.xml" "$desk/readme.xml" "$project"/docs/examples/*.xml
}

@test "elements may stand in any order" {
    document '<Settings RunLevel="rc3"><TempDir>/tmp</TempDir><BinDir>/usr/bin</BinDir></Settings><KSName>k</KSName>' |
        schema -
}

@test "what is misspelled, misplaced or doubled is refused" {
    document '<KSname>kell</KSname>' | expect_refused KSname
    document '<KSName>a</KSName><KSName>b</KSName>' | expect_refused KSName
    document '<InstallDir>/opt/agent</InstallDir>' | expect_refused InstallDir
    settings 'Startup="yes"' | expect_refused Startup
    settings '' '<EventLog Size="1"/>' | expect_refused Size
    document '<ExtraConfigSettings><Setting Section="Tickle" Value="1"/></ExtraConfigSettings>' | expect_refused Name
    echo '<Configuration/>' | expect_refused Configuration
}

@test "values that the program could not use are refused" {
    settings 'Start="Yes"' | expect_refused "'Yes'"
    settings 'Upgrade="1"' | expect_refused "'1'"
    document '<Settings RunLevel="rc3,rc5"/>' | expect_refused "'rc3,rc5'"
    document '<Settings RunLevel="rc7"/>' | expect_refused "'rc7'"
    document '<Settings Start="no"/>' | expect_refused RunLevel
    document '<KSName>https://kell.example.com</KSName>' | expect_refused "'https://kell.example.com'"
    document '<KSPort>0</KSPort>' | expect_refused "'0'"
    document '<KSPort>65536</KSPort>' | expect_refused "'65536'"
    document '<KSProtocol>HTTPS</KSProtocol>' | expect_refused "'HTTPS'"
    document '<Guid>{1</Guid>' | expect_refused "'{1'"
    settings '' '<InstallDir>opt/agent</InstallDir>' | expect_refused "'opt/agent'"
    settings '' '<InstallDir>/opt/a;b</InstallDir>' | expect_refused "'/opt/a;b'"
    settings '' '<BinDir>bin</BinDir>' | expect_refused "'bin'"
    settings '' '<GuidFile>etc/host.GUID</GuidFile>' | expect_refused "'etc/host.GUID'"
    settings '' '<EventLog LogSize="1MB"/>' | expect_refused "'1MB'"
    settings '' '<EventLog LogLevel="verbose"/>' | expect_refused "'verbose'"
    settings '' '<EventLog SysLogLevel="Debug"/>' | expect_refused "'Debug'"
}

# Configures with a sample, and the agent not started.
configure_with_the_sample() {
    given_the_package
    sed 's/ Start="yes"/ Start="no"/; s/<Settings RunLevel/<Settings Start="no" RunLevel/' \
        "$project/docs/examples/$1" | given_xml /tmp
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
}

@test "the sample of a fresh installation gives an agent that knows its server" {
    configure_with_the_sample fresh-install.xml
    expect_value "Kell Servers" server-1 kell.example.com
    expect_value Configuration runlevels_start "2 3 5"
    expect_missing "/tmp/$xml"
}

@test "the sample of a secure server has its certificate verified, and the agent not started at boot" {
    configure_with_the_sample secure-server.xml
    expect_value "Kell Servers" server-1 kell.example.com:8443
    expect_value "Client Transport" ssl_verify_peer yes
    expect_value "Client Transport" ssl_ca_info /etc/ssl/certs/ca-certificates.crt
    expect_missing /etc/rc3.d/S99zorvane
    [ "$(stat -c %A "$agent/bin/qdn-monitor")" = -r-xr--r-- ]
}

@test "the sample with every setting gives what it shows" {
    configure_with_the_sample every-setting.xml
    expect_value "Kell Servers" server-1 kell.example.com:8080
    expect_value Configuration runlevels_start "2 3 5"
    grep -rqF "Rack 7" "$agent/etc"
}

@test "the sample of another server moves a configured agent to it" {
    configure_with_the_sample secure-server.xml
    configure_with_the_sample new-server.xml
    expect_value "Kell Servers" server-1 new-kell.example.com
    expect_value "Client Transport" ssl_verify_peer yes
}

each_test_is_a_session
