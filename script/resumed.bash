# For scripts that continue what an earlier call has begun; they source it.

# what_is_tested FOLDER ...: the program, what lives on a host beside it, what tests of whole runs have in common, and these
# folders of tests; another text when one of their files has changed.
what_is_tested() {
    sha256sum build/release/qdn-configure.bin
    find tests/scenarios/*.bash tests/support package "$@" -type f ! -name '*.pyc' -exec sha256sum {} + | sort -k 2
}

# keep_results RESUMES DIRECTORY WHAT: makes a directory for results. Those of an earlier call stay when RESUMES is not empty
# and they are of the same WHAT, a text, which is kept beside them.
keep_results() {
    if [ -z "$1" ] || [ "$3" != "$(cat "$2.of" 2>/dev/null)" ]; then rm -rf "$2"; fi
    mkdir -p "$2"
    echo "$3" >"$2.of"
}
