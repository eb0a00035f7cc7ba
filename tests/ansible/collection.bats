# The collection as Galaxy, ansible-lint and Ansible's own sanity tests want it, and as the program knows its settings.

sanity=/usr/lib/python3/dist-packages/ansible_test/_util/controller/sanity

setup() {
    project=$(realpath "$BATS_TEST_DIRNAME/../..")
    export HOME=$BATS_TEST_TMPDIR ANSIBLE_COLLECTIONS_PATH=$BATS_TEST_TMPDIR LC_ALL=C.UTF-8 ANSIBLE_NOCOLOR=1 NO_COLOR=1
    unset PYTHONPATH
    PATH=/usr/sbin:/usr/bin:/sbin:/bin
    collection=$BATS_TEST_TMPDIR/ansible_collections/zorvane/kell_agent
    mkdir -p "$(dirname "$collection")"
    cp -r "$project/ansible" "$collection"
    cd "$collection" || return
}

# The tools that look at files take them from the version control of their own tree.
keep_in_git() {
    git init -q .
    git add -A
    git -c user.name=nobody -c user.email=nobody@localhost commit -q -m "As it is"
}

# `run` succeeded and nothing was said.
expect_silence() {
    if [ "$status" -ne 0 ] || [ -n "$output" ]; then
        echo "status $status: $output"
        return 1
    fi
}

@test "it is built, installed, and its documents can be read" {
    ansible-galaxy collection build --output-path "$BATS_TEST_TMPDIR/built" .
    rm -r "$collection"
    cd "$BATS_TEST_TMPDIR"
    ansible-galaxy collection install --offline --no-deps built/zorvane-kell_agent-*.tar.gz --collections-path "$BATS_TEST_TMPDIR"
    ansible-galaxy collection verify --offline zorvane.kell_agent --collections-path "$BATS_TEST_TMPDIR"
    for name in configure status; do ansible-doc "zorvane.kell_agent.$name" | grep -q 'EXAMPLES:'; done
    ansible-doc -t role zorvane.kell_agent.agent | grep -q 'agent_settings'
    for name in rollout remove; do
        ansible-playbook --syntax-check -i localhost, "zorvane.kell_agent.$name" -e agent_hosts=all
    done
}

@test "the changelog tells of the version that galaxy.yml names" {
    version=$(sed -n 's/^version: //p' galaxy.yml)
    grep -q "^  $version:" changelogs/changelog.yaml
    grep -q "^v$version" CHANGELOG.rst
}

@test "options, documents, the role and the program have the same settings" {
    run python3 "$project/tests/ansible/options.py" "$collection" "$project"
    expect_silence
}

@test "a setting that one of them lacks is noticed" {
    sed -i "/'log_size'/d" plugins/module_utils/settings.py
    run python3 "$project/tests/ansible/options.py" "$collection" "$project"
    [ "$status" -eq 1 ]
    grep -q LogSize <<<"$output"
}

@test "ansible-lint finds nothing, by its strictest profile" {
    run ansible-lint --offline --strict --profile production --nocolor -q \
        galaxy.yml meta/runtime.yml playbooks/*.yml roles/agent
    expect_silence
}

@test "ansible-lint would find something" {
    sed -i 's/^- name: Remove the package/- name: remove the package/' roles/agent/tasks/absent.yml
    run ansible-lint --offline --strict --profile production --nocolor -q roles/agent
    [ "$status" -ne 0 ]
}

# Those that fetch nothing. The others' tools are Debian's here, and are run below with the files of ansible-test.
@test "the sanity tests that need no network pass" {
    keep_in_git
    ansible-test sanity --list-tests 2>/dev/null >"$BATS_TEST_TMPDIR/all"
    local skipped=(ansible-doc changelog import pep8 pslint pylint runtime-metadata validate-modules yamllint)
    run ansible-test sanity --color no "${skipped[@]/#/--skip-test=}"
    [ "$status" -eq 0 ] || { echo "$output"; false; }
    [ "$(grep -c '^Running sanity test' <<<"$output")" -ge 18 ]
}

@test "modules, their documents and their arguments are what validate-modules wants" {
    PYTHONPATH=$BATS_TEST_TMPDIR /usr/bin/python3 "$sanity/validate-modules/validate.py" --format plain --arg-spec \
        --collection ansible_collections/zorvane/kell_agent --collection-version 1.0.0 plugins/modules/*.py \
        >"$BATS_TEST_TMPDIR/found" 2>&1 || true
    # The licence is this project's.
    run grep -v ':0:0: Emissing-gplv3-license ' "$BATS_TEST_TMPDIR/found"
    [ -z "$output" ] || { echo "$output"; false; }
    [ "$(grep -c missing-gplv3-license "$BATS_TEST_TMPDIR/found")" -eq "$(grep -c missing-gplv3 tests/sanity/ignore-2.14.txt)" ]
}

@test "pycodestyle, pylint and yamllint find nothing with the settings of ansible-test" {
    run /usr/bin/python3 -m pycodestyle --max-line-length 160 --config /dev/null \
        --ignore "$(paste -sd, "$sanity/pep8/current-ignore.txt")" plugins
    expect_silence
    run env PYTHONPATH="$BATS_TEST_TMPDIR" /usr/bin/python3 -m pylint --rcfile "$sanity/pylint/config/collection.cfg" --score n plugins
    expect_silence
    run yamllint -c "$sanity/yamllint/config/default.yml" .
    expect_silence
}

@test "modules have no word that Python 3.6 lacks, and import nothing but the standard library and Ansible" {
    run /usr/bin/python3 - plugins/*/*.py <<'END'
import ast, sys
usual = {'__future__', 'json', 'os', 'resource', 'shutil', 'tempfile', 'time', 'xml'}
for path in sys.argv[1:]:
    for node in ast.walk(ast.parse(open(path).read(), path, feature_version=(3, 6))):
        names = [n.name for n in node.names] if isinstance(node, ast.Import) else \
            [node.module] if isinstance(node, ast.ImportFrom) else []
        for name in names:
            if name.split('.')[0] not in usual and not name.startswith(('ansible.module_utils.', 'ansible_collections.zorvane.')):
                print(path, name)
END
    expect_silence
}
