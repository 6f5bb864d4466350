# shellcheck shell=bash
# The parts of the installation that ./run shows: a private cluster with the sample registry, the hub and the service.
# Read in by ./run, which sets root (the project's folder), state (the folder of the installation), services, clients
# and events (the three socket names), and provides say and fail.
# shellcheck disable=SC2154 # those of ./run

readonly pg_client=/usr/lib/postgresql/15/bin/psql
readonly stop_seconds=15

declare -A pids=() # name -> process, of what is running
cluster_started=no

log_of() { printf '%s/log/%s.log' "$state" "$1"; }

# Where Qt puts the socket of that name.
socket_path() {
    local folder=${TMPDIR:-/tmp}
    case $1 in
        /*) printf '%s' "$1" ;;
        *) printf '%s/%s' "${folder%/}" "$1" ;;
    esac
}

someone_listens() { # path
    local flags name
    while read -r _ _ _ flags _ _ _ name; do
        if [[ $flags == 00010000 && $name == "$1" ]]; then return 0; fi
    done </proc/net/unix
    return 1
}

ctl() { "$root/build/bin/objectsctl" --hub "$clients" --server "$events" "$@"; }

# For the background: $! is then the client itself, not a shell around it. Out of reach of the terminal's Ctrl-C, as all
# others: a child that dies of it while bash waits for this child can leave bash waiting for ever.
ctl_in_place() { exec setsid "$root/build/bin/objectsctl" --hub "$clients" --server "$events" "$@"; }

sql() { # role database [psql's arguments]
    "$pg_client" -X -q -A -t -v ON_ERROR_STOP=1 -h "$state/cluster/socket" -p 5432 -U "$1" -d "$2" "${@:3}" </dev/null
}

# A process of this installation: whoever has the folder's name in its environment.
is_ours() { # pid
    [[ -r /proc/$1/environ ]] && grep -qzFx -- "OBJECTS_SERVER_DEMO=$state" "/proc/$1/environ" 2>/dev/null
}

wait_until_gone() { # pid
    local end=$((SECONDS + stop_seconds))
    while kill -0 "$1" 2>/dev/null; do
        ((SECONDS < end)) || return 1
        sleep 0.1
    done
}

# A killed ./run leaves its hub and service behind.
stop_left_behind() {
    local name pid
    for name in objects_server admin_hub; do
        pid=$(cat -- "$state/$name.pid" 2>/dev/null || true)
        rm -f -- "$state/$name.pid"
        if [[ ! $pid =~ ^[0-9]+$ ]] || ! is_ours "$pid"; then continue; fi
        say "stopping $name, process $pid, left behind by an earlier run"
        kill "$pid" 2>/dev/null || true
        wait_until_gone "$pid" || fail "process $pid, left behind by an earlier run, does not end: kill it"
    done
}

refuse_names_in_use() {
    local name path
    for name in "$services" "$clients" "$events"; do
        path=$(socket_path "$name")
        if someone_listens "$path"; then
            fail "a hub or a service is already running on $path: stop it first, or end the other ./run with Ctrl-C"
        fi
    done
}

start_cluster() {
    say "starting the PostgreSQL cluster in $state/cluster"
    cluster_started=yes
    "$root/scripts/private_cluster" start "$state/cluster" || fail "the PostgreSQL cluster did not start"
}

# Filled under another name until it is complete, so that an interrupted first run leaves no half of a registry.
make_registry() {
    [[ $(sql postgres postgres -c "SELECT count(*) FROM pg_database WHERE datname = 'objects'") == 0 ]] || return 0
    say "first use: making the database 'objects' with the sample registry"
    local log
    log=$(log_of registry)
    {
        sql postgres postgres -c 'DROP DATABASE IF EXISTS objects_new' &&
            sql postgres postgres -c "DO \$\$ BEGIN CREATE ROLE objects LOGIN; EXCEPTION WHEN duplicate_object THEN NULL; END \$\$" &&
            sql postgres postgres -c 'CREATE DATABASE objects_new OWNER objects' &&
            sql objects objects_new -f "$root/schema/schema.sql" &&
            sql objects objects_new -f "$root/schema/demo.sql" &&
            sql postgres objects_new -f "$root/schema/roles.sql" &&
            sql postgres postgres -c 'ALTER DATABASE objects_new RENAME TO objects'
    } >"$log" 2>&1 || fail "the sample registry could not be made" "$log"
}

write_settings() {
    cat >"$state/objects_server.ini" <<INI
; Written by ./run at every start.
[Base]
LogName="$(log_of objects_server)"
Log=2
AdminServerName="$services"
ServerName="$events"
DbHost="$state/cluster/socket"
DbPort=5432
DbName=objects
DbUser=objects_service
DbStatementTimeout=60000
INI
}

# In a session of its own: a Ctrl-C in the terminal reaches ./run alone, which then stops all in the right order.
start_process() { # name program [arguments]
    local name=$1 pid
    (cd -- "$state" && OBJECTS_SERVER_DEMO=$state exec setsid "$root/build/bin/$name" "${@:2}") \
        </dev/null >"$(log_of "$name.out")" 2>&1 8>&- &
    pid=$!
    pids[$name]=$pid
    printf '%s\n' "$pid" >"$state/$name.pid"
}

# Fails with the log's last lines when the process has ended.
require_running() { # name
    local code=0
    if kill -0 "${pids[$1]}" 2>/dev/null; then return; fi
    wait "${pids[$1]}" || code=$?
    unset "pids[$1]"
    fail "$1 has ended with exit code $code" "$(log_of "$1.out")" "$(log_of "$1")"
}

start_hub() {
    start_process admin_hub --services "$services" --clients "$clients"
    local end=$((SECONDS + stop_seconds))
    until someone_listens "$(socket_path "$clients")"; do
        require_running admin_hub
        ((SECONDS < end)) || fail "the hub did not open its socket within $stop_seconds s" "$(log_of admin_hub.out)"
        sleep 0.1
    done
}

start_service() {
    write_settings
    start_process objects_server -settings "$state/objects_server.ini"
}

stop_service() {
    local pid=${pids[objects_server]:-}
    if [[ -z $pid ]]; then return; fi
    # By its own command it finishes what it is doing; before it has found the hub there is only the signal.
    if ! ctl --timeout 10 quit >/dev/null 2>&1 || ! wait_until_gone "$pid"; then kill "$pid" 2>/dev/null || true; fi
    finish_process objects_server
}

stop_hub() {
    local pid=${pids[admin_hub]:-}
    if [[ -z $pid ]]; then return; fi
    kill "$pid" 2>/dev/null || true
    finish_process admin_hub
}

finish_process() { # name
    wait_until_gone "${pids[$1]}" || kill -KILL "${pids[$1]}" 2>/dev/null || true
    wait "${pids[$1]}" 2>/dev/null || true
    rm -f -- "$state/$1.pid"
    unset "pids[$1]"
}

stop_cluster() {
    # Without the mark the start has not come as far as to make anything.
    if [[ $cluster_started == no || ! -f $state/cluster/.private_cluster ]]; then return; fi
    cluster_started=no
    "$root/scripts/private_cluster" stop "$state/cluster" fast
}

show_tree() {
    local server
    server=$(head -n 1 -- "$state/cluster/data/postmaster.pid")
    cat <<TREE
installation in $state
├─ PostgreSQL 15    process $server, as $(stat -c %U "/proc/$server")
│  └─ database      objects, through $state/cluster/socket
├─ admin_hub        process ${pids[admin_hub]}
│  ├─ services      $(socket_path "$services")
│  └─ clients       $(socket_path "$clients")
└─ objects_server   process ${pids[objects_server]}, linked to the hub and the database
   └─ events        $(socket_path "$events")
TREE
}
