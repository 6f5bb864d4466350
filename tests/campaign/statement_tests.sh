# shellcheck shell=bash
# The tests that are about statements, run one by one on a cluster of their own: read in by the scripts here, which put
# something between them and the database or make its tables otherwise. Others stop the database server, or count its
# processes. Ends whatever was started, at the end, after a failure and after Ctrl-C.

statement_tests=(client_sql command_on_many example_catalogues hostile_requests object_cards object_commands
    object_lifecycle object_search object_sensors object_tree object_tree_editing objects_from_templates
    operator_commands personal_properties personal_setup property_on_many sensor_on_many statement_timeout
    supplied_templates template_card template_controls template_copy template_sensors template_store two_services
    user_accounts)

work=   # temporary folder of this run
helper= # process to be ended with it

clean_up() {
    trap '' INT TERM HUP
    if [[ -n $helper ]]; then
        kill "$helper" 2>/dev/null || true
        wait "$helper" 2>/dev/null || true
    fi
    if [[ -e $work/cluster ]]; then build/bin/pg_fixture end "$work/cluster"; fi
    rm -rf -- "$work"
}

# Builds these tests, or all where none is named, and starts the cluster; its folder is in $cluster then.
begin_tests() { # [test ...]
    tests=("$@")
    if ((${#tests[@]} == 0)); then tests=("${statement_tests[@]/#/test_}"); fi
    scripts/build release pg_fixture "${tests[@]}"
    trap clean_up EXIT
    trap 'exit 130' INT TERM HUP
    work=$(mktemp -d /tmp/ors-campaign-XXXXXX)
    chmod 0755 -- "$work"
    build/bin/pg_fixture begin "$work/cluster"
    # shellcheck disable=SC2034 # for whoever reads this in
    cluster=$(cat -- "$work/cluster")
    export REGISTRY_CLUSTER_PLACE=$work/cluster
}

# Shows what failed; false where anything did.
run_tests() {
    local name failed=()
    for name in "${tests[@]}"; do
        "build/tests/server/$name" -silent -maxwarnings 0 >"$work/said" 2>&1 || {
            failed+=("$name")
            grep -v '^Totals' -- "$work/said"
        }
        printf '%s: %s\n' "$name" "$(grep '^Totals' -- "$work/said" || echo 'did not end')"
    done
    echo "$((${#tests[@]} - ${#failed[@]})) of ${#tests[@]} programs passed; failed: ${failed[*]:-none}"
    ((${#failed[@]} == 0))
}
