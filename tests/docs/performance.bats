# docs/performance.md shows rows that the benchmarks write, with the limits that they judge by.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    document=$project/docs/performance.md
}

# The rows of all tables that script/bench has printed.
rows() { sed -n 's/^    \(.* | .*\)$/\1/p' "$document" | grep -v '^work '; }

# The files of the benchmark that writes rows of a name, which may end in the file system that it was run on.
benchmark_of() {
    grep -lF -e "\"$1\"" -e "\"${1% *} \$1\"" "$project"/bench/{start,configuration.bash,configure,carry,set,xml,remove,preview,release,protection}
}

# judges_by ROW MOST FILE...: true if the files of a benchmark judge this row by this limit, and by none where MOST is empty.
judges_by() {
    local row=$1 most=$2 against given
    shift 2
    if [[ $row == *" | at worst "* ]]; then
        grep -qF "| $most %s" "$project/bench/table.bash"
    elif [[ ${row:64} == "release 1.0.0 "* ]]; then
        [ -z "$most" ] && grep -qF '"release 1.0.0"' "$project/bench/release"
    elif [[ ${row:64} == limit:* ]] || [[ ${row:64} == peer:* ]]; then
        read -r against <<<"${row:64:34}"
        # The peers of setting are in a list.
        grep -qF -e "$against" -e "${against#peer: }" "$@" || return 1
        given=$(sed -nE "s|.*\"${against//[+.]/[&]}@([0-9.,]+)\".*|\1|p" "$@" | sort -u)
        if [ -n "$given" ]; then
            [ "$given" = "$most" ]
        else
            [ -z "$most" ] || grep -qE "@${most//./[.]}($|[^0-9.,])|[|] ${most//./[.]} %s" "$@"
        fi
    else
        grep -hE "at_most .* ${most//./[.]}\$" "$@" | grep -qF "${row:31:8}"
    fi
}

@test "each row of its tables, and the limit in it, is one that a benchmark has" {
    local row name files count=0
    while IFS= read -r row; do
        read -r name <<<"${row:0:30}"
        mapfile -t files < <(benchmark_of "$name")
        [ "${#files[@]}" -gt 0 ] || { echo "no benchmark writes: $name" && return 1; }
        judges_by "$row" "$(sed -nE 's/.*\| ([0-9.,]+) (ok|MISSED)$/\1/p' <<<"$row")" "${files[@]}" ||
            { echo "another limit than that of ${files[*]}: $row" && return 1; }
        count=$((count + 1))
    done < <(rows)
    [ "$count" -gt 40 ]
}

# ratios ROW AGAINST: of its rows, one a line.
ratios() { rows | awk -F '|' -v row="$1" -v against="$2" 'index($1, row) == 1 && index($3, " " against) == 1 { print $4 + 0 }'; }

@test "the ratios that it tells are those of its tables" {
    local least most tenths
    read -r least most < <(ratios "read XML" "limit: Expat" | sort -n | sed -n '1p;$p' | xargs printf '%.1f %.1f\n')
    grep -q "That takes $least to $most times Expat\." "$document"
    read -r least most < <(rows | awk -F '|' '!/^start/ && $3 ~ /^ release/ { printf "%.0f\n", 100 * $4 }' | sort -n |
        sed -n '1p;$p' | xargs)
    grep -q "The same work takes from $least to $most % of the time that release 1.0.0 takes," "$document"
    tenths=$(ratios "start and banner" "limit: /bin/true" | awk '{ printf "%.0f", 10 * $1 }')
    [ "$tenths" -eq 9 ]
    grep -q "it starts in nine tenths of the time of" "$document"
}

@test "as many keys are carried as the table of keys has" {
    local keys
    keys=$(sed -n 's/^static_assert(std::size(kRows) == \([0-9]*\));$/\1/p' "$project/settings/ClientConfKeyMap.cpp")
    [ -n "$keys" ]
    rows | grep -q "^carry $keys keys "
    [ "$(grep -c "carry $keys keys" "$project/bench/carry")" -eq "$(grep -c 'carry [0-9]* keys' "$project/bench/carry")" ]
}
