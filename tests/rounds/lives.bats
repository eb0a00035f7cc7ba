# Random lives of a host: an agent is installed, configured, asked about, upgraded, reinstalled, moved, damaged and removed,
# its disk is filled, its runs are killed and the power is cut, in any order, beside a model of what must hold after each
# run. LIVES and STEPS make more of them. Each life has a seed of its own: SEED=number LIVES=1 repeats one that went wrong.
#
# lives.py    lets hosts live, one after the other, and tells what broke
# steps.py    what happens to a host
# damages.py  what happens to a configured agent beside any run
# old.py      an agent of an earlier version
# model.py    what must hold then: of the agent's files and data, and of what -status tells
# host.py     everything that is not the agent's, and how it is compared
# disk.py     the disk that the agents are on, and its power
# runs.py     runs of the program, undisturbed and killed
load ../scenarios/support

# One life by itself, which is being repeated, may have been a quiet one.
thorough=
[ "${LIVES:-1}" -le 1 ] || thorough=--thorough
# Functions are what a session is given.
eval "numbers() { echo --seed ${SEED:-$SRANDOM} --lives ${LIVES:-4} --steps ${STEPS:-20} $thorough; }"

@test "whatever a host lives through, nothing is lost, -status tells the truth and the next run completes" {
    local -a numbers
    read -ra numbers < <(numbers)
    /usr/bin/python3 -B "$project/tests/rounds/lives.py" "${numbers[@]}" --counts "$desk/counts"
    cat "$desk/counts" >&3
}

each_test_is_a_session
