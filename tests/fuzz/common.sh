# shellcheck shell=bash
# What run and replay share: the build, the database cluster, the way a target is started. Read in by both.
# shellcheck disable=SC2034 # used by them

root=$(realpath -- "$(dirname -- "${BASH_SOURCE[0]}")/../..")
readonly root build=$root/build-fuzz kept=$root/tests/fuzz/regressions
readonly all_targets=(fuzz_frame_cutter fuzz_frame fuzz_settings fuzz_blobs fuzz_requests)
# An input may owe a thousand rows or hold a statement that runs into its timeout; more than that is a find.
readonly options=(-timeout=30 -rss_limit_mb=4096 -print_final_stats=1 -entropic_scale_per_exec_time=1)

fail() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    exit 2
}

known_target() { # name, with or without "fuzz_"
    local target
    for target in "${all_targets[@]}"; do
        if [[ $target == "$1" || $target == "fuzz_$1" ]]; then
            printf '%s\n' "$target"
            return
        fi
    done
    fail "no target $1; there are ${all_targets[*]}"
}

prepare() {
    mkdir -p -- "$build"
    "$root/scripts/build" fuzz >"$build/build.log" 2>&1 || {
        tail -n 30 -- "$build/build.log" >&2
        fail "the build failed; all of it is in $build/build.log"
    }
    rm -rf -- "$build/seeds"
    "$build/bin/make_seeds" "$build/seeds"
    export UBSAN_OPTIONS=print_stacktrace=1
    # Small files by the thousand.
    if [[ -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi
}

# A crash leaves no time to end a cluster, so it is not the target's own.
begin_cluster() {
    REGISTRY_CLUSTER_PLACE=$(mktemp)
    export REGISTRY_CLUSTER_PLACE
    trap end_cluster EXIT
    trap 'exit 130' INT TERM
    "$build/bin/pg_fixture" begin "$REGISTRY_CLUSTER_PLACE"
}

end_cluster() {
    "$build/bin/pg_fixture" end "$REGISTRY_CLUSTER_PLACE" || true
    rm -f -- "$REGISTRY_CLUSTER_PLACE"
}

statistic() { # name log
    sed -n "s/^stat::$1: *//p" -- "$2" | tail -n 1
}
