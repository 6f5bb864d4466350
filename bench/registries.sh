# shellcheck shell=bash
# What bench/run and bench/compare share: registries of several sizes in one cluster, and their options. Read in by each
# behind set_up.sh.
# shellcheck disable=SC2034,SC2154 # what the two set and use

readonly smallest=1000 # objects

sizes=(1000 100000)
rounds=12
quick=no
kept=       # file of results that stays
registries=() # options of registry_commands

# Sets the above; takes one option from the front.
registry_option() { # option, value; sets taken
    taken=2
    case $1 in
        --sizes) IFS=, read -ra sizes <<<"${2:-}" ;;
        --quick)
            quick=yes
            rounds=3
            taken=1
            ;;
        --results)
            [[ -n ${2:-} ]] || usage
            kept=$(realpath -m -- "$2")
            ;;
        *) shared_option "$@" ;;
    esac
}

check_sizes() {
    local size before=0
    ((${#sizes[@]} > 0)) || usage
    for size in "${sizes[@]}"; do
        positive "$size"
        ((size >= smallest && size > before)) || usage
        before=$size
    done
}

# Nothing but what is measured shall work in the database meanwhile. The memory is for reading, building the indexes and
# sorting, as an installation of this size would have it. The log tells what the service runs.
start_recorded_cluster() {
    start_cluster -c autovacuum=off -c shared_buffers=1GB -c maintenance_work_mem=512MB -c max_wal_size=16GB \
        -c synchronous_commit=off -c logging_collector=on -c log_destination=jsonlog -c log_directory=log \
        -c log_filename=statements.log -c log_rotation_age=0 -c log_rotation_size=0
    results=${kept:-$work/results}
    rm -f -- "$results"
}

make_registries() {
    local size
    for size in "${sizes[@]}"; do
        make_registry "objects_$size" "$root/bench/registry.sql" -v objects="$size"
        start_service "objects_$size" "objects_$size"
        registries+=("--registry=$size,$work/objects_$size.admin,$(description_of "objects_$size")")
    done
}

measure_commands() { # option of registry_commands ...
    measure "$bin/registry_commands" "${registries[@]}" --log "$work/cluster/data/log/statements.json" \
        --results "$results" --rounds "$rounds" "$@"
}
