# The dialogue where an agent is installed already: what is proposed, and whose settings the new agent gets.
load ../scenarios/support
load ../scenarios/old-agent
load terminal

# An agent of an https server, with places of its own for everything that the dialogue asks for.
given_an_agent_to_upgrade() {
    given_an_old_agent 6.2
    given_the_package
    mkdir -p /usr/local/links /var/spool/zorvane /var/lib/zorvane/tasks
    echo "event two" >/var/spool/zorvane/two.kse
    sed -i "$agent/etc/client.conf" \
        -e 's,^bindir=.*,bindir=/usr/local/links,' -e 's,^tmpdir=.*,tmpdir=/var/tmp/zorvane,' \
        -e 's,^event_queue_dir=.*,event_queue_dir=/var/spool/zorvane,' \
        -e 's,^task_storage_path=.*,task_storage_path=/var/lib/zorvane/tasks,' \
        -e 's,^debug_output=.*,debug_output=/var/log/zorvane/old.log,'
}

expect_the_old_identifier() { printf '%s\nnull' "$guid" | expect_file "$agent/etc/host.GUID"; }

@test "to keep the old settings, Enter is enough" {
    given_an_agent_to_upgrade
    at_the_terminal -iconfigure <<'END'
accept "Name or IP" https://old.example:8083
accept "been installed to" /opt/zorvane/kell/ksagent
accept "keep old settings" yes
accept "unprivileged users" yes
accept "Run levels" "rc3;rc5;"
accept "log file be stored" /var/log/zorvane
accept "name of the Agent's log" old.log
accept "maximum size" 777
accept "the Agent's log file (error" warning
accept "system log file" error
accept "in the PATH" /usr/local/links
accept "Temporary directory" /var/tmp/zorvane
accept "event queue" /var/spool/zorvane
accept "tasks directory" /var/lib/zorvane/tasks
answer "Agent started" n
END
    expect_status 0
    expect_on_screen "Migrating Agent 6.2 settings..."
    expect_value "Kell Servers" server-1 old.example:8083
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/"
    expect_value "Client Transport" ssl_ca_info /etc/ssl/zorvane.pem
    expect_value "Event Queue" level2-retries 7
    expect_value "Client Details" SerialNumber "SN = 12  34"
    expect_value Configuration package_retry_delay 61
    expect_value Configuration sub_agent_names "inventory;monitor"
    expect_value Configuration runlevels_start "3 5"
    expect_value Configuration bindir /usr/local/links
    expect_value Configuration tmpdir /var/tmp/zorvane
    expect_value Configuration event_queue_dir /var/spool/zorvane
    expect_value Configuration task_storage_path /var/lib/zorvane/tasks
    expect_value Configuration debug_output /var/log/zorvane/old.log
    expect_value Configuration debug_file_size 777
    expect_value Configuration debug_level warning
    expect_value Configuration syslog_level error
    expect_the_old_identifier
    expect_file /var/spool/zorvane/two.kse <<<"event two"
}

@test "with the old settings kept, what is answered differently is as it was answered" {
    given_an_agent_to_upgrade
    at_the_terminal -iconfigure <<'END'
accept_until "Run levels"
answer "Run levels" rc4
answer "log file be stored" /var/log
answer "name of the Agent's log" new.log
answer "maximum size" 12
answer "the Agent's log file (error" debug
answer "system log file" info
answer "in the PATH" /usr/bin
answer "Temporary directory" /tmp
answer "event queue" %INSTDIR%/queue
answer "tasks directory" /var/lib/tasks
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 old.example:8083
    expect_value Configuration package_retry_delay 61
    expect_value Configuration runlevels_start 4
    expect_value Configuration debug_output /var/log/new.log
    expect_value Configuration debug_file_size 12
    expect_value Configuration debug_level debug
    expect_value Configuration syslog_level info
    expect_value Configuration bindir /usr/bin
    expect_value Configuration tmpdir /tmp
    expect_value Configuration event_queue_dir "$agent/queue"
    expect_value Configuration task_storage_path /var/lib/tasks
    expect_the_old_identifier
    expect_file "$agent/queue/two.kse" <<<"event two" # the data goes along
}

@test "without the old settings, the usual ones are proposed, where the agent is now" {
    given_an_agent_to_upgrade
    at_the_terminal -iconfigure <<'END'
accept "Name or IP" https://old.example:8083
accept "been installed to" /opt/zorvane/kell/ksagent
answer "keep old settings" n
accept "unprivileged users" yes
accept "Run levels" "rc2;rc3;rc5"
accept "log file be stored" /opt/zorvane/kell/ksagent/var
accept "name of the Agent's log" qdn-client.log
accept "maximum size" 256
accept "the Agent's log file (error" Error
accept "system log file" None
accept "in the PATH" /usr/bin
accept "Temporary directory" /tmp
accept "event queue" /opt/zorvane/kell/ksagent/var/queue
accept "tasks directory" /opt/zorvane/kell/ksagent/var/tasks
answer "Agent started" n
END
    expect_status 0
    expect_on_screen "Creating/customizing Agent's configuration file."
    expect_value "Kell Servers" server-1 old.example:8083
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/"
    expect_value "Client Transport" ssl_ca_info ""
    expect_value Configuration package_retry_delay 60
    expect_value Configuration runlevels_start "2 3 5"
    expect_value Configuration debug_output "$agent/var/qdn-client.log"
    expect_value Configuration debug_file_size 256
    expect_value Configuration bindir /usr/bin
    expect_value Configuration tmpdir /tmp
    expect_value Configuration event_queue_dir "$agent/var/queue"
    expect_value Configuration task_storage_path "$agent/var/tasks"
    expect_the_old_identifier
    expect_file "$agent/var/queue/two.kse" <<<"event two"
}

@test "another server means another identifier" {
    given_an_agent_to_upgrade
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" https://new.example:8083
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 new.example:8083
    expect_value Configuration guid_guid_file "$agent/etc/host.GUID"
    expect_value Configuration package_retry_delay 61
    expect_missing "$agent/etc/host.GUID"
}

@test "the same server by a shorter name, or at another port, keeps the identifier" {
    given_an_agent_to_upgrade
    local server
    for server in OLD https://old.example:9000 old.example; do
        at_the_terminal -iconfigure <<END
answer "Name or IP" $server
accept_until "Agent started"
answer "Agent started" n
END
        expect_status 0
        expect_value "Kell Servers" server-1 "${server#https://}"
        expect_the_old_identifier
    done
}

@test "a 5.6 agent can be kept, too; only its server must be named" {
    given_an_old_agent 5.6
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" new.example
accept "been installed to" /opt/zorvane/kell/ksagent
accept "keep old settings" yes
accept_until "maximum size"
accept "maximum size" 777
accept_until "Temporary directory"
accept "Temporary directory" /var/tmp
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 new.example
    expect_value Configuration debug_file_size 777
    expect_value "Client Transport" transport_timeout 99
}

@test "an agent that is configured again by Enter alone stays as it is" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" https://kell.example:8083
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    cp "$agent/etc/client.conf" "$desk/first.conf"
    at_the_terminal -iconfigure <<'END'
accept "Name or IP" https://kell.example:8083
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_file "$agent/etc/client.conf" <"$desk/first.conf"
}

@test "an agent that moves takes its data along where Enter proposes it, and leaves it where an answer says" {
    given_an_old_agent 6.2
    given_the_package "$elsewhere"
    at_the_terminal -iconfigure <<'END'
accept "Name or IP" https://old.example:8083
answer "been installed to" /opt/elsewhere/agent
accept_until "event queue"
accept "event queue" /opt/elsewhere/agent/var/queue
answer "tasks directory" /opt/zorvane/kell/ksagent/var/tasks
answer "Agent started" n
END
    expect_status 0
    expect_on_screen "WARNING! $agent is kept: the new configuration names $agent/var/tasks."
    expect_value Configuration installdir "$elsewhere" "$elsewhere/etc/client.conf"
    expect_value Configuration event_queue_dir "$elsewhere/var/queue" "$elsewhere/etc/client.conf"
    expect_value Configuration task_storage_path "$agent/var/tasks" "$elsewhere/etc/client.conf"
    expect_file "$elsewhere/var/queue/one.kse" <<<"event one"
    expect_file "$agent/var/tasks/one.kst" <<<"task one"
}

each_test_is_a_session
