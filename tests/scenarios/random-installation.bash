# Random installations, on a host with what others have left there. RANDOM is what picks: seed it to repeat one.
# shellcheck disable=SC2034 # variables are for the tests

# --- A random installation. What is picked goes into variables: a subshell would not advance the generator.

pick() {
    local -a choices=("$@")
    picked=${choices[RANDOM % $#]}
}

in_one_of() { ((RANDOM % $1 == 0)); }

# For a store; two stores may get the same directory, or one below the other.
pick_directory() {
    pick "%INSTDIR%/var/$1" "%INSTDIR%/$1" "/var/lib/zorvane/$1" "/opt/data/deep/$1" /opt/data/shared \
        "/opt/data/shared/$1"
}

pick_installation() {
    pick "$agent" /opt/elsewhere/agent /opt/the-agent /usr/local/ksagent /var/lib/agent $'/opt/\303\274ber'
    installdir=$picked
    pick /usr/bin /usr/local/bin /opt/links "$installdir/bin"
    bindir=$picked
    pick_directory queue && queue=$picked
    pick_directory tasks && tasks=$picked
    pick_directory packages && packages=$picked
    pick_directory swd && swd=$picked
    pick %INSTDIR%/var /var/log /var/log/zorvane %INSTDIR%/log
    logdir=$picked
    pick /tmp /var/tmp /var/tmp/zorvane %INSTDIR%/tmp
    tempdir=$picked
    pick %INSTDIR%/etc %ETCDIR% /etc/zorvane /var/lib/zorvane
    guiddir=$picked
    pick "0 350" "1 500" "2 1000"
    version=$picked
    pick yes no && boot=$picked
    pick yes no && anyone=$picked
    pick "" "0a1b2c3d-0000-1111-2222-333344445555" && guid=$picked
    pick_levels
}

pick_levels() {
    local level
    levels=
    for level in 0 1 2 3 4 5 6; do ! in_one_of 3 || levels+="rc$level;"; done
}

expanded() {
    local path=${1//%ETCDIR%/%INSTDIR%/etc}
    echo "${path//%INSTDIR%/$installdir}"
}

# Where it is not removed after use.
given_the_picked_xml() {
    cat >"$desk/$xml" <<END
<KSAgentConfiguration>
  <KSName>kell.example:8080</KSName>
  <Guid>$guid</Guid>
  <Settings Start="no" RunLevel="$levels" StartupOnBoot="$boot" AllowNonRoot="$anyone">
    <EventLog LogDir="$logdir" LogFile="agent.log"/>
    <InstallDir>$installdir</InstallDir><BinDir>$bindir</BinDir><TempDir>$tempdir</TempDir>
    <GuidDir>$guiddir</GuidDir><EventQueueDir>$queue</EventQueueDir><TasksDir>$tasks</TasksDir>
    <PackagesDir>$packages</PackagesDir><SWDDir>$swd</SWDDir>
  </Settings>
</KSAgentConfiguration>
END
    chmod 0600 "$desk/$xml"
}

# --- What is on the host besides

# No name is one that the agent gives, or of one of its directories.
pick_foreign_path() {
    local -a directories=("$bindir" /etc /etc/init.d /etc/rc3.d /etc/rc5.d /tmp /var/tmp /var/log /var/lib /opt
        /opt/data /opt/data/deep /var/lib/zorvane /etc/zorvane /usr/local /usr/bin "$(dirname "$installdir")")
    local -a names=(ksagent.old ksagent2 agents queue.kse 1.kse 2.ksi a.123456 '*' '?' '[q]*' $'line\nend' ' ' -rf
        .hidden $'\377' qdn-stranger qdn-monitor.old qdn-env zorvane2 zorvane.bak S99zorvane2 S9zorvane K01other
        client.conf host.GUID.bak invlock agent.log.old agent.logs '{01234567-89ab-cdef-0123-456789ABCDEF}'
        kell.example.xml Packages .qdn-pkg-xml-1 .qdn-configure.x stuff)
    local directory
    pick "${directories[@]}"
    directory=${picked/#"$installdir"*//opt}
    pick "${names[@]}"
    path=$directory/$picked
}

given_something_foreign() {
    local path
    pick_foreign_path
    [ ! -e "$path" ] && [ ! -L "$path" ] || return 0
    foreign+=("$path")
    mkdir -p "$(dirname "$path")"
    pick file file directory link dangling pipe
    case $picked in
        file) echo "somebody's" >"$path" ;;
        directory) mkdir "$path" && echo "somebody's" >"$path/1.kse" ;;
        link) ln -s "$installdir/bin/qdn-monitor" "$path" ;;
        dangling) ln -s nowhere "$path" ;;
        pipe) mkfifo "$path" ;;
    esac
    [ -L "$path" ] || change_owner_and_mode "$path"
}

# On an ordinary user's private machine there is nobody but root.
change_owner_and_mode() {
    pick 0644 0600 0000 4755 1777
    chmod "$picked" "$1"
    ! in_one_of 3 || chown 1234:5678 "$1" 2>/dev/null || true
}

given_a_foreign_host() {
    local number=$((RANDOM % 12))
    foreign=()
    while ((number-- > 0)); do given_something_foreign; done
    mkdir -p "$(dirname "$installdir")"
    [ "$bindir" = "$installdir/bin" ] || mkdir -p "$bindir"
    helper=no
    ! in_one_of 2 || { echo helper >/usr/bin/qdn-helper && helper=yes; }
}

# --- What the agent does in its directories

given_a_life_of_the_agent() {
    local store
    for store in "$queue" "$tasks" "$packages" "$swd" %INSTDIR%/var; do
        store=$(expanded "$store")
        mkdir -p "$store/Packages/{01234567-89ab-cdef-0123-456789ABCDEF}/deep"
        touch "$store"/{1.kse,1.kst,invlock,kell.example.xml,'*',.qdn-pkg-xml-1,Packages/.qdn-package-1}
        ln -sfn /etc "$store/outside"
        ln -sfn /etc/passwd "$store/outside.kse"
    done
    touch "$installdir/etc/"{client.conf.a1b2c3,UserLog.ini,om-ior} "$(expanded "$logdir")"/agent.log{,.1,.20}
}

# --- What is done with it

lay_the_package_down() {
    cp -a "$desk/package" "$installdir"
    sed -i "s/^agent_minor=.*/agent_minor=${version% *}/; s/^agent_build=.*/agent_build=${version#* }/" \
        "$installdir/etc/client.proto"
}

run_quietly() {
    status=0
    (cd / && QDNCLIENT_CONFIG_XML_DIR=$desk "$program" "$@" -quiet >"$desk/out" 2>"$desk/err") || status=$?
}

# The next one finds the host as this one did. Nothing is named by a wildcard: the project may lie anywhere.
clear_the_host() {
    rm -rf /opt/{elsewhere,data,links,zorvane/kell} /{var/lib,etc,var/log,var/tmp}/zorvane \
        /var/log/agent.log{,.1,.20} {/usr,/usr/local}/bin/qdn-{configure,helper} "$installdir" "${foreign[@]}"
}
