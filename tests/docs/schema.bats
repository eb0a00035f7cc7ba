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

# What the program reads: the rows of its table.
settings_of_the_program() {
    sed -nE 's/^ *(Setting|Part)\(k(Element|Attribute), k?[^,]*, L"([A-Za-z0-9]*)", XmlValue.*/\3/p' \
        "$project/settings/XmlFormat.h" | LC_ALL=C sort
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

# Settings that no test below gives are left out. Documents, one a line, good or bad.
documents() {
    cat <<'END'
<KSName>kell</KSName>
<KSName> kell.example.com:8080 </KSName>
<KSName>[2001:db8::1]:8080</KSName>
<KSName>https://kell.example.com:8083/x</KSName>
<KSName>ftp://kell</KSName>
<KSName>two words</KSName>
<KSName>kell/x</KSName>
<KSName>kell:65536</KSName>
<KSName>kell</KSName><KSPort>1</KSPort>
<KSName>kell</KSName><KSPort>65535</KSPort>
<KSName>kell</KSName><KSPort>65536</KSPort>
<KSName>kell</KSName><KSPort>0</KSPort>
<KSName>kell</KSName><KSPort>+80</KSPort>
<KSName>a</KSName><KSName>b</KSName>
<KSname>kell</KSname>
<KSProtocol>HTTPS</KSProtocol>
<KSProtocol>ftp</KSProtocol>
<Guid>anything</Guid>
<InstallDir>/opt/agent</InstallDir>
<Settings><InstallDir>/opt/agent</InstallDir></Settings>
<Settings Startup="yes"/>
<Settings Start="YES"/>
<Settings Start="true"/>
<Settings Start="off"/>
<Settings Start=""/>
<Settings Start="maybe"/>
<Settings Upgrade="yes"/>
<Settings Upgrade="Yes"/>
<Settings Upgrade=" yes"/>
<Settings Upgrade="no"/>
<Settings UseKSIPAddress="YES"/>
<Settings KSIPAddress="10.0.0.5"/>
<Settings KSIPAddress="a b"/>
<Settings RunLevel="rc3,rc5"/>
<Settings RunLevel="rc7"/>
<Settings RunLevel=""/>
<Settings LogSize="1"/>
<Settings><EventLog LogSize="1"/></Settings>
<Settings><EventLog LogSize="1MB"/></Settings>
<Settings><EventLog LogSize="-1"/></Settings>
<Settings><EventLog LogLevel="dbgVERBOSE"/></Settings>
<Settings><EventLog LogLevel="none"/></Settings>
<Settings><EventLog SysLogLevel="Debug"/></Settings>
<Settings><EventLog SysLogLevel="NONE"/></Settings>
<Settings><EventLog Size="1"/></Settings>
<Settings>text</Settings>
<Settings><CurlSSL SSLVerifyPeer="2"/></Settings>
<Location>null</Location>
<ExtraConfigSettings><Setting Section="a" Name="b" Value="c"/><Setting Name="d"/></ExtraConfigSettings>
<ExtraConfigSettings><Setting Nam="b"/></ExtraConfigSettings>
END
}

@test "the schema accepts exactly the documents that the program does not warn about" {
    local content told accepted good=0 bad=0
    while IFS= read -r content; do
        accepted=yes
        document "$content" | schema - 2>/dev/null || accepted=no
        rm -rf "$agent"
        document "$content" | given_xml /tmp
        qdn_configure -configure -noimode -quiet
        told=$(grep -cE "^WARNING! (/tmp/$xml:|Upgrade is neither)" "$desk/err" || true)
        [ "$accepted:$((told > 0))" = yes:0 ] || [ "$accepted:$((told > 0))" = no:1 ] || {
            cat "$desk/err"
            fail "schema: $accepted, warnings: $told, for $content"
        }
        if [ "$accepted" = yes ]; then good=$((good + 1)); else bad=$((bad + 1)); fi
    done < <(documents)
    [ "$good" -gt 20 ] && [ "$bad" -gt 20 ]
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
