# docs/performance.md shows rows that the benchmarks write, with the limits that they judge by.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    document=$project/docs/performance.md
}

# The rows of all tables that script/bench has printed.
rows() { sed -n 's/^    \(.* | .*\)$/\1/p' "$document" | grep -v '^work '; }

# The benchmark that writes rows of a name, which may end in the file system that it was run on.
benchmark_of() {
    grep -lF -e "\"$1\"" -e "\"${1% *} \$1\"" "$project"/bench/{start,configuration.bash,configure,carry,set,xml,remove,preview}
}

# judges_by FILE ROW MOST: true if the benchmark judges this row by this limit, and by none where MOST is empty.
judges_by() {
    local against given
    if [[ $2 == *" | at worst "* ]]; then
        grep -qF "| $3 %s" "$project/bench/table.bash"
    elif [[ ${2:64} == limit:* ]] || [[ ${2:64} == peer:* ]]; then
        read -r against <<<"${2:64:34}"
        # The peers of setting are in a list.
        grep -qF -e "$against" -e "${against#peer: }" "$1" || return 1
        given=$(sed -nE "s|.*\"${against//[+.]/[&]}@([0-9.,]+)\".*|\1|p" "$1")
        if [ -n "$given" ]; then
            [ "$given" = "$3" ]
        else
            [ -z "$3" ] || grep -qE "@${3//./[.]}($|[^0-9.,])|[|] ${3//./[.]} %s" "$1"
        fi
    else
        grep -E "at_most .* ${3//./[.]}\$" "$1" | grep -qF "${2:31:8}"
    fi
}

@test "each row of its tables, and the limit in it, is one that a benchmark has" {
    local row name file count=0
    while IFS= read -r row; do
        read -r name <<<"${row:0:30}"
        file=$(benchmark_of "$name") || true
        [ -n "$file" ] || { echo "no benchmark writes: $name" && return 1; }
        judges_by "$file" "$row" "$(sed -nE 's/.*\| ([0-9.,]+) (ok|MISSED)$/\1/p' <<<"$row")" ||
            { echo "another limit than that of $file: $row" && return 1; }
        count=$((count + 1))
    done < <(rows)
    [ "$count" -gt 40 ]
}

@test "as many keys are carried as the table of keys has" {
    local keys
    keys=$(sed -n 's/^static_assert(std::size(kRows) == \([0-9]*\));$/\1/p' "$project/settings/ClientConfKeyMap.cpp")
    [ -n "$keys" ]
    rows | grep -q "^carry $keys keys "
    [ "$(grep -c "carry $keys keys" "$project/bench/carry")" -eq "$(grep -c 'carry [0-9]* keys' "$project/bench/carry")" ]
}
