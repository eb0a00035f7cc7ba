# One session of an administrator on a private machine: session.bash FUNCTION, with the functions of the test on
# descriptor 9. The host is one that the agent supports, has no tools that register services (the links of the run
# levels are made directly), no rpm, and no agent yet. Ends 0 when every statement held.
set -eEuo pipefail

project=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
program=$project/build/$QDN_BUILD/qdn-configure.bin
agent=/opt/zorvane/kell/ksagent
# shellcheck disable=SC2034 # for the tests
elsewhere=/opt/elsewhere/agent
# shellcheck disable=SC2034 # for the tests
banner="Zorvane Agent for UNIX and Linux Configuration utility."
xml=.qdn-agent-install-config.xml
desk=/run/session # the session's own notes, outside of what is looked at

# --- The host before the program runs

settle_in() {
    export HOME=/run/admin
    mkdir -p "$desk" "$HOME" /opt/zorvane
    echo "Red Hat Enterprise Linux AS release 4 (Nahant)" >/etc/redhat-release
    rm -f /etc/SuSE-release /etc/UnitedLinux-release
    for tool in chkconfig insserv update-rc.d systemctl rpm; do hide "$tool"; done
    find /etc -name '[SK][0-9][0-9]zorvane' -delete
    rm -rf /etc/init.d/zorvane
    for level in 0 1 2 3 4 5 6; do mkdir -p "/etc/rc$level.d"; done
    cd "$HOME"
}

# Takes a tool of the host away; `bring_back` returns it.
hide() {
    local directory
    mkdir -p "$desk/hidden"
    for directory in /usr/local/sbin /usr/local/bin /usr/sbin /usr/bin /sbin /bin; do
        [ -e "$directory/$1" ] || continue
        cp -P "$directory/$1" "$desk/hidden/"
        rm "$directory/$1"
    done
}

bring_back() { cp -P "$desk/hidden/$1" /usr/sbin/; }

# A story that says so runs twice, on a host whose /bin/sh is dash and on one where it is bash: the agent is started by
# scripts.
under_dash_and_bash() {
    ln -sf "$(command -v "$SESSION_SHELL")" /usr/bin/sh
    [ "$(/bin/sh -c 'basename "$(readlink "/proc/$$/exe")"')" = "$SESSION_SHELL" ] || fail "/bin/sh is not $SESSION_SHELL"
}

# The package as a package manager lays it down, by default where agents usually are.
given_the_package() { "$project/package/lay-down" "${1:-$agent}" "$program"; }

# given_xml DIRECTORY <<END: an XML configuration file of the administrator's.
given_xml() {
    cat >"$1/$xml"
    chmod 0600 "$1/$xml"
}

# The least that a run needs: a server, where the agent is, and no start (which takes ten seconds).
given_plain_xml() {
    given_xml "${1:-/tmp}" <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings Start="no" RunLevel="rc3;rc5" StartupOnBoot="yes" AllowNonRoot="yes" ${3:-}>
    <InstallDir>${2:-$agent}</InstallDir>
  </Settings>
</KSAgentConfiguration>
END
}

# A tool for services whose first call is the end of the program.
given_a_tool_that_kills() {
    printf '#!/bin/sh\nkill -KILL "$(pgrep -x qdn-configure.b)"\n' >/usr/sbin/chkconfig
    chmod 0755 /usr/sbin/chkconfig
}

# given_a_tool_in_earnest <<END: a tool for services that is harmless in a rehearsal, which has a network of its own, and
# runs these commands on the host.
given_a_tool_in_earnest() {
    {
        echo '#!/bin/sh'
        echo "[ \"\$(readlink /proc/self/ns/net)\" = '$(readlink /proc/self/ns/net)' ] || exit 0"
        cat
    } >/usr/sbin/chkconfig
    chmod 0755 /usr/sbin/chkconfig
}

# --- The program

# Runs the program, without a terminal and unless told otherwise without input; keeps both streams, the status, and
# what the files were before.
qdn_configure() {
    list_files >"$desk/before"
    status=0
    "$program" "$@" >"$desk/out" 2>"$desk/err" || status=$?
}

# --- What is expected of it

fail() {
    echo "$1"
    return 1
}

same() {
    diff -u --label "$1 expected" --label "$1" - "$2"
}

expect_status() {
    [ "$status" -eq "$1" ] || { cat "$desk/out" "$desk/err"; fail "status $status, expected $1"; }
}

# The streams, to the byte: expect_output <<END, expect_errors <<END. What the banner says stands in both cases first.
expect_output() { same "standard output" "$desk/out"; }
expect_errors() { same "standard error" "$desk/err"; }
expect_no_errors() { same "standard error" "$desk/err" </dev/null; }

# expect_file PATH <<END: the file's whole content.
expect_file() { same "$1" "$1"; }

# Values of client.conf, or of another INI file: expect_value SECTION KEY VALUE [FILE].
expect_value() {
    local found
    found=$(value_of "$1" "$2" "${4:-$agent/etc/client.conf}")
    [ "$found" = "$3" ] || fail "[$1] $2 is '$found', expected '$3'"
}

value_of() {
    awk -v section="[$1]" -v key="$2=" '
        /^\[/ { inside = $0 == section }
        inside && index($0, key) == 1 { print substr($0, length(key) + 1); exit }' "$3"
}

expect_missing() {
    local path
    for path; do
        if [ -e "$path" ] || [ -L "$path" ]; then fail "$path is there"; fi
    done
}

expect_plain_files() {
    local path
    for path; do
        if [ ! -f "$path" ] || [ -L "$path" ]; then fail "$path is no plain file"; fi
    done
}

# A plain "!" would not fail a test.
expect_no_line() {
    [ -r "$2" ] || fail "$2 cannot be read"
    if grep -e "$1" "$2"; then fail "$2 has such a line"; fi
}

# Files that the last run made (+), removed (-) or changed (!), one a line and sorted by path: expect_changes <<END.
# A line is the sign, mode, path and, of a link, where it leads. Data of the host that any command touches is left out.
expect_changes() {
    list_files >"$desk/after"
    changes | made_here >"$desk/changes"
    same "changes" "$desk/changes"
}

expect_no_changes() { expect_changes </dev/null; }

# Path (line ends in it as "?"), then what is shown of it, then what tells a change of content.
list_files() {
    { find /etc /opt /tmp /run /var /usr/bin /usr/sbin /usr/local \
        \( -path "$project" -o -path "$desk" -o -path /run/private-machine -o -path /run/lock \
        -o -path /run/qdn-configure.lock -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg \) -prune -o \
        \( -type d -o -type l \) -printf '%p\t%M\t%l\t%U:%G\0' -o \
        -printf '%p\t%M\t%l\t%U:%G %s %T@ %i\0' 2>/dev/null ||
        true; } | tr '\n\0' '?\n' | LC_ALL=C sort # an ordinary user may not look everywhere
}

changes() {
    awk -F '\t' '
        function line(sign, path, mode, target) { print sign " " mode " " path (target == "" ? "" : " -> " target) }
        FNR == NR { before[$1] = $0; next }
        { seen[$1] = 1 }
        !($1 in before) { line("+", $1, $2, $3); next }
        before[$1] != $0 { line("!", $1, $2, $3) }
        END {
            for (path in before) {
                split(before[path], old, "\t")
                if (!(path in seen)) line("-", path, old[2], old[3])
            }
        }' "$desk/before" "$desk/after" | LC_ALL=C sort -k3
}

# Of lines of changes, those that this machine made: what others write on the host meanwhile shows through the overlays,
# but only what is written here stands in their upper layers. (What went may have stood in either.)
made_here() {
    local line path
    while IFS= read -r line; do
        path=${line#* * }
        path=${path%% -> *}
        [ "${line:0:1}" = - ] || is_written_here "$path" || continue
        printf '%s\n' "$line"
    done
}

is_written_here() {
    case $1 in /var/tmp/*) ;; /etc/* | /usr/* | /var/*) [ -e "$PRIVATE_MACHINE_CHANGES$1" ] || [ -L "$PRIVATE_MACHINE_CHANGES$1" ] ;; esac
}

# --- The session itself

trap 'echo "failed: $BASH_COMMAND" >&2' ERR
# shellcheck source=/dev/null
source /dev/fd/9
exec 9<&-
settle_in
"$1"
