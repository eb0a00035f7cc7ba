# What a session can say about the program at a terminal, beyond session.bash.

# at_the_terminal [ARGUMENT ...] <<'END': runs the program as from a shell on a terminal, and does there what the verbs
# of operator.exp say. Keeps what the terminal showed, how the program ended and what the host was before. The terminal
# has so many `columns`; with `job_control=on` the shell does what an interactive one does with Ctrl-Z.
at_the_terminal() {
    state_of_the_host >"$desk/state"
    expect -f "$project/tests/terminal/operator.exp" "$desk/screen" "${columns:-80}" \
        "$project/tests/terminal/shell" "$desk" "${job_control:-off}" "$program" "$@"
    # shellcheck disable=SC2034 # for expect_status
    status=$(<"$desk/status")
}

expect_same_terminal() { same "the terminal's settings" "$desk/terminal-after" <"$desk/terminal-before"; }

# The screen to the byte, apart from the return before each line end: expect_screen <<END.
expect_screen() {
    sed 's/\r$//' "$desk/screen" >"$desk/screen-lines"
    same "the screen" "$desk/screen-lines"
}

expect_on_screen() {
    grep -qF -e "$1" "$desk/screen" || { cat "$desk/screen"; fail "'$1' is not on the screen"; }
}

# Nothing at all has been written, made or removed on the host since the program was called, and the lock is free.
expect_untouched() {
    local lock
    state_of_the_host >"$desk/state-after"
    same "the host" "$desk/state-after" <"$desk/state"
    lock=/run/qdn-configure.lock
    [ ! -e "$lock" ] || flock --nonblock "$lock" true || fail "$lock is held"
}

# All that a run could change, one line a file: mode, owner, size, time, path and target; then what the files hold.
state_of_the_host() {
    local places=(/opt /run/* /tmp "$PRIVATE_MACHINE_CHANGES") private # the lock comes to /run and goes
    private=(-path "$project" -o -path "$desk" -o -path /run/private-machine -o -path /run/lock)
    find "${places[@]}" \( "${private[@]}" \) -prune -o -printf '%M %U:%G %s %T@ %p %l\n' | sort
    find "${places[@]}" \( "${private[@]}" \) -prune -o -type f -exec sha256sum {} + | sort
}
