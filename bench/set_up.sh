# shellcheck shell=bash
# What the scripts here share: a private cluster with throw-away registries in the temporary folder, the service on one
# of them, and a program that measures it. Read in by each, which sets root (the project's folder).
# Whatever was started is stopped and removed at the end, after a failure and after Ctrl-C.
# shellcheck disable=SC2034,SC2154 # rounds, root

readonly bin=$root/build-bench/bin

work=    # temporary folder of this run
socket=  # folder of the cluster's socket
port=    # its port
services=() # processes
worktree= # of another revision
service_program=$bin/objects_server
counting=
measuring=
pinned=() # command in front of everything that takes part in the measurement

say() { printf '%s\n' "$*" >&2; }

fail() {
    say "bench/${0##*/}: $*"
    exit 1
}

positive() { [[ ${1:-} =~ ^[1-9][0-9]{0,6}$ ]] || usage; }

# The options that all of them have; they set rounds or pinned.
shared_option() { # option, value
    case $1 in
        --rounds) positive "${2:-}" && rounds=$2 ;;
        --cpus)
            [[ ${2:-} =~ ^[0-9,-]+$ ]] || usage
            pinned=(taskset -c "$2")
            ;;
        *) usage ;;
    esac
}

# Ends a process of ours and waits until it is gone.
end() {
    if [[ -n $1 ]]; then
        kill -TERM "$1" 2>/dev/null || true
        wait "$1" 2>/dev/null || true
    fi
}

clean_up() {
    trap '' INT TERM HUP
    end "$counting"
    end "$measuring"
    end_services
    if [[ -n $work ]]; then
        if [[ -e $work/cluster ]]; then "$root/scripts/private_cluster" destroy "$work/cluster" >&2 || true; fi
        if [[ -n $worktree ]]; then git -C "$root" worktree remove --force "$worktree" >&2 || true; fi
        rm -rf -- "$work"
    fi
}

build() { # target ...
    "$root/scripts/install_packages" >&2
    say 'Building...'
    (cd -- "$root" && cmake --preset bench && cmake --build --preset bench --target objects_server "$@") >&2
}

start_cluster() { # option of scripts/private_cluster ...
    trap clean_up EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    # Settings of the caller's own PostgreSQL and Qt have no say here.
    unset "${!PG@}" "${!QT_@}"
    work=$(mktemp -d --tmpdir registry-bench-XXXXXX)
    chmod 0755 -- "$work" # the database's user has to reach its own folder in it
    "${pinned[@]}" "$root/scripts/private_cluster" start "$work/cluster" "$@" >&2
    socket=$work/cluster/socket
    port=$(cat -- "$work/cluster/port")
}

query() { psql -X -q -v ON_ERROR_STOP=1 -h "$socket" -p "$port" -U postgres "$@" >&2; }

# Counts the megabytes of a database while it is filled. A terminal sees one line that changes, a file the last one.
count_megabytes() { # database
    local megabytes='pg_database_size(current_database()) / 1000000'
    while [[ -t 2 ]] && sleep 1; do
        printf '\r%s: %s MB ' "$1" "$(psql -X -A -t -h "$socket" -p "$port" -U postgres -d "$1" -c "SELECT $megabytes")" >&2
    done
}

make_registry() { # database, file that fills it, option of psql ...
    local name=$1 file=$2
    shift 2
    say "Making the registry $name..."
    query -d postgres -c "CREATE DATABASE $name"
    query -d "$name" -f "$root/schema/schema.sql"
    count_megabytes "$name" &
    counting=$!
    query -d "$name" "$@" -f "$file"
    end "$counting"
    counting=
    say "$name: $(psql -X -A -t -h "$socket" -p "$port" -U postgres -d "$name" -c "SELECT pg_size_pretty(pg_database_size(current_database()))")"
}

# Settings of a service on that database: the file NAME.ini, the log NAME.log and the sockets NAME.admin and NAME.server.
write_settings() { # name, database
    cat >"$work/$1.ini" <<INI
[Base]
LogName=$work/$1.log
Log=1
AdminServerName=$work/$1.admin
ServerName=$work/$1.server
DbHost=$socket
DbPort=$port
DbName=$2
DbUser=postgres
INI
}

# In libpq's form.
description_of() { # database
    printf 'host=%s port=%s dbname=%s user=postgres' "$socket" "$port" "$1"
}

# Starts a service on the database; it serves once somebody listens on its administration socket.
start_service() { # name of its settings, database
    write_settings "$1" "$2"
    (cd -- "$work" && exec "${pinned[@]}" "$service_program" -settings "$1.ini") >"$work/$1.output" 2>&1 &
    services+=($!)
}

end_services() {
    local service
    for service in "${services[@]}"; do end "$service"; done
    services=()
}

# Runs what measures the services that were started.
measure() { # program, argument ...
    "${pinned[@]}" "$@" &
    measuring=$!
    if ! wait "$measuring"; then
        measuring=
        say 'The services had said:'
        cat -- "$work"/*.log "$work"/*.output >&2 || true
        fail 'nothing was measured'
    fi
    measuring=
}

# The same with a service that lives as long; the program must take the options --admin and --database.
measure_service() { # database, program, argument ...
    local database=$1
    shift
    start_service "$database" "$database"
    measure "$@" --admin "$work/$database.admin" --database "$(description_of "$database")"
    end_services
}
