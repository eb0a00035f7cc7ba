# What several scripts share; they source it.
# shellcheck disable=SC2034 # for them

# The folders of the program, lowest floor first.
folders=(corekit deploykit run settings config agents integration preview apply status app)

# The sources of release 1.0.0.
release_commit=2b531b9

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# wait_for_a_turn MOST: returns when fewer than MOST jobs of the caller run in the background.
wait_for_a_turn() {
    while [ "$(jobs -rp | wc -l)" -ge "$1" ]; do wait -n || true; done
}

# mirrors SUITE: where this machine has its own packages from, as lines of sources.
mirrors() {
    # shellcheck disable=SC2016 # these are placeholders
    apt-get indextargets --format 'deb $(REPO_URI) $(CODENAME) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' "Codename: $1" | sort -u
}
