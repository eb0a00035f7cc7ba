# What bash offers when the command line of qdn-configure is completed: the words that the program knows.
load ../scenarios/support

# What is offered after a command line, one a line, by a real bash that is asked as readline asks it.
offered() {
    bash --norc -c '
        source "$1"
        IFS=" " read -r -a COMP_WORDS <<<"$2"
        [[ $2 != *" " ]] || COMP_WORDS+=("")
        COMP_LINE=$2 COMP_POINT=${#2} COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        registered=$(complete -p "${COMP_WORDS[0]}") || exit
        set -- $registered
        "$3"
        printf "%s\n" "${COMPREPLY[@]}" | LC_ALL=C sort' - "$project/docs/completion/qdn-configure.bash" "$1"
}

# expect_offer "LINE" WORD ...
expect_offer() {
    local line=$1
    shift
    offered "$line" | same "after '$line'" <(printf '%s\n' "$@")
}

# The options in a usage text of the program.
options_of() {
    { "$program" "$1" '' || [ $? -eq 120 ]; } | grep -oE '^-[a-z]+' | LC_ALL=C sort -u
}

@test "the commands are offered, and those that begin like the word" {
    expect_offer 'qdn-configure ' -apply -clean -configure -help -iconfigure -preview -status -version
    expect_offer 'qdn-configure.bin -c' -clean -configure
    "$program" -help | sed -n 's/^  \(-[a-z]*\) .*/\1/p' | LC_ALL=C sort >"$desk/commands"
    offered 'qdn-configure ' | same commands "$desk/commands"
}

@test "after a command its options are offered" {
    local command
    for command in -configure -iconfigure; do
        options_of $command >"$desk/options"
        grep -qx -e -dir "$desk/options"
        offered "qdn-configure $command " | same "options of $command" "$desk/options"
    done
    expect_offer 'qdn-configure -clean /opt ' -quiet
    expect_offer 'qdn-configure -preview ' -clean -configure -exit-code -iconfigure -json -out
    expect_offer 'qdn-configure -preview -json -configure -no' -noimode -nosearch
    expect_offer 'qdn-configure -preview -json -clean /opt ' -quiet
    expect_offer 'qdn-configure -status ' -connect -json
    expect_offer 'qdn-configure -apply ' -clean -configure -iconfigure -json -or-plainly -plan -wait -yes
    expect_offer 'qdn-configure -apply -yes -clean /opt ' -quiet
    expect_offer 'qdn-configure --help ' -apply -clean -configure -iconfigure -preview -status
    expect_offer 'qdn-configure -configure -no' -noimode -nosearch
}

@test "directories are offered where one is wanted" {
    mkdir -p /opt/agent/one /opt/agent/two
    touch /opt/agent/file
    expect_offer 'qdn-configure -configure -dir /opt/agent/' /opt/agent/one /opt/agent/two
    expect_offer 'qdn-configure -clean /opt/agent/t' /opt/agent/two
    expect_offer 'qdn-configure -preview -clean /opt/agent/t' /opt/agent/two
    expect_offer 'qdn-configure -status -json /opt/agent/t' /opt/agent/two
    expect_offer 'qdn-configure -preview -out /opt/agent/' /opt/agent/file /opt/agent/one /opt/agent/two
    expect_offer 'qdn-configure -apply -plan /opt/agent/' /opt/agent/file /opt/agent/one /opt/agent/two
}

@test "a real bash completes what is typed" {
    expect >"$desk/screen" <<END
log_user 1
set timeout 20
spawn -noecho env PS1=> INPUTRC=/dev/null bash --norc
expect ">"
send "source $project/docs/completion/qdn-configure.bash\r"
expect ">"
send "qdn-configure -ic\t-q\t"
expect { "qdn-configure -iconfigure -quiet " { exit 0 } timeout { exit 1 } eof { exit 2 } }
END
}

each_test_is_a_session
