# Starting and stopping programs: each has a name and a log file, and they are stopped in the reverse
# order of starting, whatever ends the script.
# shellcheck shell=bash

LOGS=      # folder of the log files, set by the script
STARTED=() # names, in the order of starting
declare -A PROCESS

# start NAME COMMAND...: with its output in LOGS/NAME.log. A new session keeps Ctrl-C away from the
# program, so that the script can stop all in order; if the script is killed, the program gets SIGTERM.
start() {
    local name=$1
    shift
    : >"$LOGS/$name.log"
    setsid setpriv --pdeathsig TERM -- "$@" </dev/null >>"$LOGS/$name.log" 2>&1 9>&- &
    PROCESS[$name]=$!
    STARTED+=("$name")
}

is_running() {
    [[ -n ${PROCESS[$1]-} ]] && kill -0 "${PROCESS[$1]}" 2>/dev/null
}

# fail_with_log LOG MESSAGE...: prints the message and the end of the log, and exits.
fail_with_log() {
    local log=$1
    shift
    complain "$@"
    if [[ -s $log ]]; then
        complain "end of $log:"
        tail -n 25 "$log" | sed 's/^/    /' >&2
    else
        complain "$log is empty"
    fi
    exit 1
}

# wait_for NAME SECONDS WHAT CONDITION...: waits until the condition command succeeds. Fails if the
# program NAME ends first, or after SECONDS.
wait_for() {
    local name=$1 limit=$2 what=$3 end
    shift 3
    end=$((SECONDS + limit))
    until "$@" >/dev/null 2>&1; do
        is_running "$name" || fail_with_log "$LOGS/$name.log" "$name ended before $what"
        ((SECONDS < end)) || fail_with_log "$LOGS/$name.log" "$name: not within $limit s: $what"
        sleep 0.02
    done
}

# stop NAME: SIGTERM, and SIGKILL after 20 s. Fails unless the program ended with status 0 or by
# SIGTERM.
stop() {
    local name=$1 process=${PROCESS[$1]-} end=$((SECONDS + 20)) status=0
    [[ -n $process ]] || return 0
    unset "PROCESS[$name]"
    kill -TERM "$process" 2>/dev/null || true
    while kill -0 "$process" 2>/dev/null && ((SECONDS < end)); do
        sleep 0.02
    done
    kill -KILL "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || status=$?
    if ((status != 0 && status != 128 + 15)); then
        complain "$name ended with status $status; see $LOGS/$name.log"
        return 1
    fi
}

# Fails if one of them did.
stop_all() {
    local index failed=0
    for ((index = ${#STARTED[@]} - 1; index >= 0; --index)); do
        stop "${STARTED[index]}" || failed=1
    done
    STARTED=()
    return "$failed"
}
