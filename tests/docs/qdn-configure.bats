# qdn-configure(8) tells of every command, option, variable, status, message and file of the program, and of no others.
load ../scenarios/support
load ../scenarios/old-agent
load pages

of_page() { section qdn-configure.8 "$@"; }

# The options that the page's synopsis has for a command, operands too.
synopsis() {
    of_page SYNOPSIS |
        awk -v command="$1" '/^\.Fl / { inside = $2 == command; next } inside && /^\.(Op|Ar command|Ar [A-Z])/' |
        sed -e 's/^\.Op Fl \([a-z-]*\).*/-\1/' -e 's/^\.Op Ar \(.*\)/<\1>/' -e 's/^\.Ar \(.*\)/<\1>/'
}

# Those that its usage text explains.
usage() {
    qdn_configure "-$1" nowhere -nonsense
    expect_status 120
    sed -n 's/^\(-[a-z-]*\|<[^>]*>\)\( .*\)\{0,1\}$/\1/p' "$desk/out"
}

@test "its synopsis has the commands that -help lists" {
    qdn_configure -help
    sed -n 's/^  \(-[a-z]*\) .*/\1/p' "$desk/out" >"$desk/commands"
    same_lists commands "$desk/commands" <(of_page SYNOPSIS | sed -n 's/^\.Fl /-/p')
    same_lists commands "$desk/commands" <(of_page DESCRIPTION Commands | items Fl | first_words | sed 's/^/-/')
}

@test "its options are those that the commands' usage explains" {
    for command in configure iconfigure clean preview apply status; do
        usage "$command" >"$desk/usage"
        same_lists "options of -$command" "$desk/usage" <(synopsis "$command")
        grep '^-' "$desk/usage" >>"$desk/all"
    done
    same_lists options "$desk/all" <(of_page DESCRIPTION Options | items Fl | first_words | sed 's/^/-/')
}

# "VERSION BUILD" of the newest release of each version that can be upgraded, and below which build it is.
releases() {
    sed -n '/ kReleases\[\] = {/,/^};/p' "$project/agents/AgentVersion.cpp" | grep -v UnsupportedAgent |
        sed -n 's/^ *{\([0-9]*\), \([0-9]*\), \([A-Za-z0-9]*\), .*/\1.\2 \3/p' |
        awk '{ below[$1] = $2 } END { for (version in below) print version, below[version] }'
}

@test "the versions that it says can be upgraded are those of the table of releases" {
    releases | sed -e 's/ kAnyBuild$//' -e 's/ \([0-9]*\)$/ before build \1/' >"$desk/releases"
    same_lists versions "$desk/releases" <(of_page DESCRIPTION Commands | tr '\n' ' ' |
        sed 's/.*Versions \(.*\) can be upgraded.*/\1/; s/, \| and /\n/g')
}

# Names of variables stand in the sources as they are. What is only taken from the environment of the host's tools, and
# what is looked up in an old agent's script, is none of ours; nor are the fields of a run's record.
variables() {
    sources | xargs sed -e '/ kLeftOut\[\] = {/,/^};/d' -e '/ kLeftOutPrefixes\[\] = /d' \
        -e 's/\(Field\|add\)("[A-Z_]*"//g' |
        grep -oE '"[A-Z][A-Z_]{3,}"' | tr -d '"' | grep -vxE 'LD_LIBRARY_PATH|ERROR|WARNING'
}

@test "its variables are those that the program reads" {
    same_lists variables <(variables) <(of_page ENVIRONMENT | items Ev)
}

@test "the fields of a record that it lists are those that the program writes" {
    same_lists fields <(grep -oE 'QDN_[A-Z_]*' "$project/run/RunRecord.cpp") \
        <(of_page DESCRIPTION "The record of a run" | items Cm | grep '^QDN_')
}

# The numbers of the constants that a function returns, or has the record of a run end with.
returned_constants() {
    local name number
    sources | xargs sed -nE 's/.*constexpr unsigned (k[A-Z][A-Za-z]*) = ([0-9]+);.*/\1 \2/p' | sort -u |
        while read -r name number; do
            if sources | xargs grep -qE "(return|[^:][?:]|End\() *$name *([;:)]|\$)"; then echo "$number"; fi
        done
}

@test "its exit statuses are those that commands return, and each is returned" {
    returned_constants >"$desk/statuses"
    same_lists statuses "$desk/statuses" <(of_page "EXIT STATUS" | sed -n 's/^\.It //p')
    qdn_configure -clean /nowhere
    expect_status 0
    qdn_configure -configure -noimode
    expect_status 1
    given_the_package
    qdn_configure -preview -exit-code -configure -noimode
    expect_status 1
    given_plain_xml
    qdn_configure -preview -exit-code -configure -noimode
    expect_status 2
    qdn_configure -status
    expect_status 4
    qdn_configure -configure -noimode
    qdn_configure -status
    expect_status 3
    qdn_configure -configure -nonsense
    expect_status 120
}

@test "what it lists as mistakes on the command line has the status that it says, on a host that stays as it is" {
    local mistake number count
    number=$(of_page DIAGNOSTICS "Mistakes on the command line" | sed -n 's/.*the status is \([0-9]*\)\.$/\1/p')
    count=$(of_page DIAGNOSTICS "Mistakes on the command line" | grep -c '^\.It ')
    given_the_package
    given_plain_xml
    for mistake in "-configure -dir" "-nonsense" "-apply -configure -noimode"; do
        # shellcheck disable=SC2086 # words
        qdn_configure $mistake
        expect_status "$number"
        head -n 1 "$desk/err" | sed "s/'[^']*'/'...'/" >>"$desk/told"
        expect_no_changes
    done
    [ "$(wc -l <"$desk/told")" -eq "$count" ]
    while IFS= read -r line; do
        of_page DIAGNOSTICS "Mistakes on the command line" | grep -qxF ".It Li \"$line\"" || fail "$line is told"
    done <"$desk/told"
}

@test "it says how many differences -status names" {
    local most
    most=$(sed -n 's/^constexpr std::size_t kMostDifferences = \([0-9]*\);/\1/p' "$project/status/TextReport.cpp")
    [ -n "$most" ]
    of_page DESCRIPTION "The state of an agent" | grep -q "names the first $most of them"
}

@test "it gives the cause and the remedy of every refusal, warning and error that the program writes, and of no others" {
    "$project/tests/docs/messages.py" "$project/docs/qdn-configure.8" \
        "$project"/{app,apply,preview,status,run,settings,config,agents,integration,deploykit,corekit}
}

# What runs make: with links for the levels; on an agent that is there; with a unit, and links elsewhere; that cannot move
# all data; that are killed; and an -apply that fails.
files_made() {
    export QDN_INSTALL_AUTOSTART=no
    given_the_package
    given_plain_xml
    sed -i 's,</KSName>,&<Guid>0a1b2c3d</Guid>,' "/tmp/$xml"
    qdn_configure -configure -noimode
    expect_status 0
    note_made_files
    qdn_configure -configure -noimode
    expect_status 0
    note_made_files
    bring_back systemctl
    sed -i 's,^bindir=.*,bindir=/usr/local/bin,' "$agent/etc/client.conf"
    qdn_configure -configure -noimode
    expect_status 0
    note_made_files
    hide systemctl
    clear_away "$agent"
    files_of_a_partial_move
    files_of_runs_that_fail
    # It is not looked at.
    echo /run/qdn-configure.lock >>"$desk/made"
}

# An upgrade to another directory, where an event has the name of another one: by a client.conf in its usual place, and by
# one that lies elsewhere.
files_of_a_partial_move() {
    local conf
    for conf in "$agent/etc/client.conf" /opt/saved.conf; do
        given_an_old_agent 6.0SP2
        [ "$conf" = "$agent/etc/client.conf" ] || mv "$agent/etc/client.conf" "$conf"
        given_the_package "$elsewhere"
        mkdir -p "$elsewhere/var/queue"
        echo "in the way" >"$elsewhere/var/queue/one.kse"
        QDNCLIENT_CONFIG_FILE=$conf qdn_configure -configure -noimode -dir "$elsewhere"
        expect_status 0
        note_made_files
        clear_away "$elsewhere"
    done
}

clear_away() {
    qdn_configure -clean "$1"
    expect_status 0
    rm -rf "$agent" "$elsewhere"
}

# An -apply whose command fails, and one that is killed; and a configuration that is killed.
files_of_runs_that_fail() {
    given_an_old_agent 6.2
    given_the_package
    given_a_tool_in_earnest <<END
rm -f $agent/etc/.unfinished
mkdir -p $agent/etc/.unfinished
END
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    note_made_files
    given_a_tool_in_earnest <<'END'
kill -KILL $(pgrep -x qdn-configure.b)
END
    qdn_configure -apply -yes -configure -noimode
    expect_status 137
    note_made_files
    given_a_tool_that_kills
    qdn_configure -configure -noimode
    expect_status 137
    note_made_files
}

# A tool of the host's makes its own directories.
note_made_files() {
    list_files >"$desk/after"
    changes | grep -v '^+ d[^ ]* /etc/' | sed -n 's/^+ [^ ]* \([^ ]*\).*/\1/p' |
        sed -e "s,^$agent/,,; s,^$elsewhere/,,; s,^var/.*,var,; s,^/usr/local/bin/qdn-[^h].*,/usr/bin/qdn-link," \
            -e 's,^\(/var/lib/qdn-configure/failed\|.*/\.qdn-configure-saved\)/.*,\1,' \
            -e 's,^\(/tmp/\.zorvane-agent-installer\)\.......$,\1.XXXXXX,' \
            -e 's,^\(/var/lib/qdn-configure\)/\(saved\(/.*\)\?\|stores\|journal\|over\)$,\1,' >>"$desk/made"
}

@test "the files that it says are made are those that runs make" {
    files_made
    of_page FILES Made | items Pa >"$desk/patterns"
    local path pattern matched
    : >"$desk/used"
    while read -r path; do
        matched=no
        while read -r pattern; do
            # shellcheck disable=SC2053 # a pattern
            [[ $path == $pattern ]] || continue
            matched=yes
            echo "$pattern" >>"$desk/used"
        done <"$desk/patterns"
        [ "$matched" = yes ] || fail "$path is made, and the page does not say so"
    done <"$desk/made"
    same_lists "files made" "$desk/used" "$desk/patterns"
}

each_test_is_a_session
