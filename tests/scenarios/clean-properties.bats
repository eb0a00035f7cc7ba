# Whatever was configured on whatever host: -clean leaves the host as it was before the package came, but for what
# remains() lists. Random installations; SEED=number repeats those of a run that failed.
load support
load removal
load random-installation

eval "seed() { echo ${SEED:-$SRANDOM}; }" # functions are what a session is given
how_many() { echo 80; }

# --- What remains

goes() {
    local tree
    for tree in "$installdir" "$queue" "$tasks" "$packages" "$swd"; do
        [[ $1/ != "$(expanded "$tree")"/* ]] || return 0
    done
    return 1
}

# Those of a path that are not there, from the top on.
missing_directories() {
    [ -e "$1" ] || { missing_directories "$(dirname "$1")" && echo "$1"; }
}

missing_configured_directories() {
    local directory
    for directory in "$queue" "$tasks" "$packages" "$swd" "$logdir" "$tempdir" "$guiddir"; do
        missing_directories "$(expanded "$directory")"
    done | sort -u
}

# All that a clean does not give back, each with its reason. Given are the directories that were not there.
remains() {
    local directory log

    # Nobody knows afterwards who made a directory on the way to a store, or one for temporary files, the log or the
    # identifier, and others may have come to use it.
    while IFS= read -r directory; do
        goes "$directory" || echo "+ drwxr-xr-x $directory"
    done

    # The program that is running keeps its link: a script of the package manager may call it once more.
    [ "$bindir" = "$installdir/bin" ] ||
        echo "+ lrwxrwxrwx $bindir/qdn-configure -> $installdir/bin/qdn-configure"

    # The agent's log is the administrator's where it is not in a directory of the agent; only 6.2 rotates it by
    # numbers, and in the host's own directory nobody knows whose they are.
    log=$(expanded "$logdir")/agent.log
    if ! goes "$log"; then
        echo "+ -rw-r--r-- $log"
        [[ $version == "2 "* && $logdir != /var/log ]] || printf '+ -rw-r--r-- %s\n' "$log.1" "$log.20"
    fi

    # The helper in the host's own directory goes with links that are elsewhere.
    if [ "$helper" = yes ] && [ "$bindir" != /usr/bin ]; then echo "- -rw-r--r-- /usr/bin/qdn-helper"; fi
}

# --- One installation, from before the package to the host as it was

# An agent that is to start with the host, and in no run level, is told.
warning_of_run_levels() {
    [ "$boot" = no ] || [[ $levels == *rc[0-6]* ]] ||
        echo "WARNING! No run level is configured: the agent is not started when the host boots."
}

prove_one() {
    pick_installation
    given_the_picked_xml
    given_a_foreign_host
    list_files >"$desk/before"
    missing_configured_directories >"$desk/missing"

    lay_the_package_down
    run_quietly -configure -noimode -nosearch
    expect_status 0
    expect_errors < <(warning_of_run_levels)
    given_a_life_of_the_agent
    run_quietly -clean "$installdir"
    expect_nothing_told
    run_quietly -clean "$installdir"
    expect_nothing_found "$installdir"
    remains <"$desk/missing" | LC_ALL=C sort -k3 >"$desk/remains"
    expect_changes <"$desk/remains"
}

@test "what a configuration makes, a clean takes away, and nothing else" {
    echo "seed $(seed)"
    trap 'declare -p number installdir bindir queue tasks packages swd logdir tempdir guiddir version boot anyone \
        guid levels helper foreign' EXIT
    "$project/package/lay-down" "$desk/package" "$program"
    RANDOM=$(seed)
    for ((number = 1; number <= $(how_many); ++number)); do
        prove_one
        clear_the_host
    done
}

each_test_is_a_session
