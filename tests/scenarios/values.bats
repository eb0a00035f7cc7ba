# Odd values reach client.conf as they were meant: nothing is read as a macro twice, as a second line or by a shell.
load support

# A run with one more element, given literally, in the XML file.
configure_with() {
    given_the_package
    given_plain_xml
    given_xml /tmp <<<"$(grep -v '^</KSAgent' "/tmp/$xml")
$(cat)
</KSAgentConfiguration>"
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

@test "blanks at the ends go, blanks inside stay" {
    configure_with <<'END'
  <Location>
        Rack  7,   left
  </Location>
END
    expect_value "Client Details" Location "Rack  7,   left"
}

@test "quotes, commands and variables are text" {
    configure_with <<'END'
<Location>"it's" $(touch /opt/owned) `touch /opt/owned` ${HOME} %KSNAME% %INSTDIR% \\ = [x] # ; &amp;&lt;</Location>
END
    # shellcheck disable=SC2016 # as it stands
    expect_value "Client Details" Location \
        '"it'\''s" $(touch /opt/owned) `touch /opt/owned` ${HOME} %KSNAME% %INSTDIR% \\ = [x] # ; &<'
    expect_missing /opt/owned
}

@test "a line end in a value becomes a blank and starts no line of its own" {
    configure_with <<'END'
<Description>one&#10;two&#13;&#10;[Kell Servers]&#10;server-1=evil</Description>
END
    expect_value "Client Details" Description "one two  [Kell Servers] server-1=evil"
    expect_value "Kell Servers" server-1 kell.example
    [ "$(grep -c evil "$agent/etc/client.conf")" = 1 ]
}

@test "an install directory with a macro in its name is not expanded again" {
    given_the_package "/opt/%INSTDIR%"
    given_plain_xml /tmp "/opt/%INSTDIR%"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value Configuration installdir "/opt/%INSTDIR%" "/opt/%INSTDIR%/etc/client.conf"
    expect_value Configuration event_queue_dir "/opt/%INSTDIR%/var/queue" "/opt/%INSTDIR%/etc/client.conf"
    [ -d "/opt/%INSTDIR%/var/queue" ]
}

@test "an install directory of bytes that are no UTF-8 works" {
    directory=$'/opt/caf\xe9'
    given_the_package "$directory"
    given_plain_xml
    qdn_configure -configure -noimode -quiet -dir "$directory"
    expect_status 0
    LC_ALL=C expect_value Configuration installdir "$directory" "$directory/etc/client.conf"
    [ -d "$directory/var/queue" ]
    qdn_configure -clean "$directory" -quiet
    expect_status 0
    expect_missing "$directory"
}

each_test_is_a_session
