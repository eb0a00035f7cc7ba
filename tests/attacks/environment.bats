# A hostile environment: variables of the caller's change neither what the commands that the program runs do, nor what
# the loader does, nor which programs are found.
# shellcheck disable=SC2154 # a session says where things are
load support

# Code of an attacker's in every form in which a shell, the loader or a tool takes it from the environment; each form
# leaves a file in /tmp/owned when it works.
hostile_environment() {
    mkdir -m 1777 /tmp/owned
    echo "touch /tmp/owned/start-file" >/tmp/start-file
    mkdir -p /tmp/bin
    local tool
    for tool in ps grep sed mv uname cut awk rpm sh nslookup; do
        printf '#!/bin/sh\n/usr/bin/touch /tmp/owned/relative-%s\n' "$tool" >"/tmp/bin/$tool"
        chmod 0755 "/tmp/bin/$tool"
    done
    # shellcheck disable=SC2016 # the shell of a command would expand it
    hostile=(
        ENV=/tmp/start-file BASH_ENV=/tmp/start-file
        LD_PRELOAD=/tmp/owned.so LD_AUDIT=/tmp/owned.so LD_LIBRARY_PATH=/tmp LD_DEBUG=all LD_DEBUG_OUTPUT=/tmp/owned/loader
        IFS=/ CDPATH=/tmp SHELLOPTS=xtrace:noexec BASHOPTS=extdebug 'PS4=$(/usr/bin/touch /tmp/owned/prompt)'
        'BASH_FUNC_grep%%=() { /usr/bin/touch /tmp/owned/function; }'
        'BASH_FUNC_ps%%=() { /usr/bin/touch /tmp/owned/function; }'
        'BASH_FUNC_sed%%=() { /usr/bin/touch /tmp/owned/function; }'
        'ps=() { :;}; /usr/bin/touch /tmp/owned/import'
        POSIXLY_CORRECT=1 GREP_OPTIONS=-v PS_FORMAT=pid PS_PERSONALITY=bsd COLUMNS=1 LC_ALL=tr_TR.UTF-8 LANGUAGE=de
        "PATH=bin:./bin::$PATH:bin"
    )
}


# A library that leaves its mark wherever the loader takes it.
given_a_hostile_library() {
    printf '%s\n' '#include <fcntl.h>' \
        '__attribute__((constructor)) static void mark(void) { open("/tmp/owned/library", O_CREAT, 0644); }' |
        cc -shared -fPIC -x c -o /tmp/owned.so -
    LD_PRELOAD=/tmp/owned.so /bin/true
    rm /tmp/owned/library # it works
}

# The files that the program answers for, with what is in the agent's.
result() {
    find /opt /etc -path "$project" -prune -o \( -type f -o -type l \) -printf '%p %M %l\n' | sort
    find /opt -path "$project" -prune -o -type f -exec sha256sum {} + | sort -k2
}

# run_in NAME STORY ARGUMENT ... -- VARIABLE ...: the run of a story in /tmp, with more variables; keeps what came of it.
run_in() {
    local name=$1 story=$2 arguments=()
    shift 2
    while [ "$1" != -- ]; do arguments+=("$1"); shift; done
    shift
    forget_the_agent
    rm -f /usr/bin/qdn-*
    "$story"
    status=0
    (cd /tmp && exec env "$@" "$program" "${arguments[@]}" >"$desk/out" 2>"$desk/err") || status=$?
    expect_status "${ends:-0}"
    cp "$desk/out" "$desk/$name.out"
    cp "$desk/err" "$desk/$name.err"
    result >"$desk/$name.tree"
}

# expect_the_same STORY ARGUMENT ...: whatever /bin/sh is, the hostile environment changes nothing about the run.
expect_the_same() {
    local shell kind
    hostile_environment
    given_a_hostile_library
    for shell in dash bash; do
        ln -sf "$shell" /bin/sh
        run_in plain "$@" --
        run_in hostile "$@" -- "${hostile[@]}"
        for kind in tree out err; do same "$kind" "$desk/hostile.$kind" <"$desk/plain.$kind"; done
        [ -z "$(ls -A /tmp/owned)" ] || fail "owned by $(ls -A /tmp/owned)"
    done
}

fresh() {
    given_the_package
    given_plain_xml
}

upgrade() {
    given_an_old_agent 5.6
    fresh
}

clean() { given_an_old_agent 6.2; }

configured() {
    fresh
    "$program" -configure -noimode >/dev/null
}

@test "a hostile environment changes nothing about a configuration" { expect_the_same fresh -configure -noimode; }

@test "a hostile environment changes nothing about an upgrade" { expect_the_same upgrade -configure -noimode; }

@test "a hostile environment changes nothing about a clean" { expect_the_same clean -clean "$agent"; }

@test "a hostile environment changes nothing about an upgrade that is applied" { expect_the_same upgrade -apply -yes -configure -noimode; }

@test "a hostile environment changes nothing about a preview" { expect_the_same upgrade -preview -json -configure -noimode; }

@test "a hostile environment changes nothing about a status" {
    ends=3 expect_the_same configured -status -json # it is not running
}

@test "an administrator's own directory of PATH is used, a relative one is not" {
    hostile_environment
    mkdir -p /root/bin
    echo "#!/bin/sh" >/root/bin/rpm
    echo "echo /root/bin/rpm >>/root/asked" >>/root/bin/rpm
    chmod 0755 /root/bin/rpm
    fresh
    cd /tmp
    PATH=bin::/root/bin:$PATH qdn_configure -configure -noimode
    expect_status 0
    grep -qx /root/bin/rpm /root/asked
    [ -z "$(ls -A /tmp/owned)" ]
}

@test "a name that a shell would run in a value of an old agent's configuration stays a name" {
    local code="x';touch /tmp/owned;'\$(touch /tmp/owned)\`touch /tmp/owned\`;touch /tmp/owned #"
    given_an_old_agent 6.2
    awk -v code="$code" -F = '/^(bindir|var|event_queue_dir|task_storage_path|package_storage_path|swd_storage_path|debug_output|tmpdir)=/ {
        print $0 "/" code; next } { print }' "$agent/etc/client.conf" >"$desk/conf"
    cp "$desk/conf" "$agent/etc/client.conf"
    qdn_configure -clean "$agent"
    expect_missing /tmp/owned
}

each_test_is_a_session
