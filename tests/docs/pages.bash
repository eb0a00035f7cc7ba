# Reading the manual pages as their authors wrote them, and the program's sources for the words that they explain.

pages_of_project() { find "$project/docs" -maxdepth 1 -name '*.[58]' | sort; }

# section PAGE TITLE: the lines of a section. A subsection's title is given with its section's: "FILES" "Made".
section() {
    awk -v title="$2" -v subtitle="${3:-}" '
        /^\.Sh / { in_section = $0 == ".Sh " title; inside = in_section && subtitle == ""; next }
        /^\.Ss / && subtitle != "" { inside = in_section && $0 == ".Ss " subtitle; next }
        inside' "$project/docs/$1"
}

# items MACRO: of a section's lines the names that its list explains, sorted, one a line.
items() {
    sed -n "s/^\.It $1 //p" | sed 's/ , /\n/g' | sort -u
}

# The first words of items.
first_words() { cut -d ' ' -f 1; }

sources() {
    find "$project"/{app,status,apply,preview,run,settings,config,agents,integration,deploykit,corekit} -name '*.cpp' -o -name '*.h'
}

# same_lists WHAT <(EXPECTED) <(FOUND): the same lines, however they are sorted.
same_lists() {
    diff -u --label "$1 of the program" --label "$1 in the page" <(sort -u "$2") <(sort -u "$3")
}
