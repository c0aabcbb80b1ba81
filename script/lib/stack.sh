# The parts around the daemon and the daemon itself, as script/run starts them under $RUN from
# the programs in $BUILT. The command and the readiness of each are described in stack.conf; starting and
# stopping any program is in processes.sh.
# shellcheck shell=bash

TEMPORARY= # folder of the redis socket where it is one of ours to remove
BACKLIGHT=$RUN/backlight
# The values of stack.conf; "address" is that of the part that was started last.
declare -A VALUE=([run]=$RUN [built]=$BUILT [script]=$ORVANE_ROOT/script [listen]=127.0.0.1:0)
# A private view clears the death signal, so it is set again inside.
readonly WRAPPER=(setpriv --pdeathsig TERM --)

# A unix socket's path has at most 107 characters, too few for a deep checkout.
choose_sockets() {
    VALUE[sockets]=$RUN/redis
    if ((${#VALUE[sockets]} > 90)); then
        TEMPORARY=$(mktemp -d "${XDG_RUNTIME_DIR:-/tmp}/orvane-run-XXXXXX")
        VALUE[sockets]=$TEMPORARY
    fi
}

# described NAME KIND: what script/lib/stack.conf says of a process, a line for each.
described() {
    local name kind rest
    while read -r name kind rest; do
        if [[ $name == "$1" && $kind == "$2" ]]; then
            printf '%s\n' "$rest"
        fi
    done <"$ORVANE_ROOT/script/lib/stack.conf"
}

# filled_in TEXT: with the values in place of their names.
filled_in() {
    local text=$1 name
    for name in "${!VALUE[@]}"; do
        text=${text//"{$name}"/"${VALUE[$name]}"}
    done
    printf '%s\n' "$text"
}

# holds NAME CONDITION: one of the conditions under which the process is up.
holds() {
    local what=${2#* } blocked line
    case $2 in
    "log "*)
        # Whole lines only: `read` fails for a last one that has no end yet.
        while IFS= read -r line; do
            if [[ $line =~ $what ]]; then
                VALUE[address]=${BASH_REMATCH[1]-}
                return 0
            fi
        done <"$LOGS/$1.log"
        return 1
        ;;
    "file "*) [[ -e $(filled_in "$what") ]] ;;
    "blocks "*)
        blocked=$(sed -n 's/^SigBlk:[[:blank:]]*//p' "/proc/${PROCESS[$1]}/status")
        ((0x$blocked & 1 << (what - 1)))
        ;;
    *) die "script/lib/stack.conf: no condition is called ${2%% *}" ;;
    esac
}

# command_of NAME: puts the words of its command into COMMAND.
command_of() {
    local word
    COMMAND=()
    for word in $(described "$1" command); do
        case $word in
        "''") COMMAND+=("") ;;
        "{wrapper}") COMMAND+=("${WRAPPER[@]}") ;;
        *) COMMAND+=("$(filled_in "$word")") ;;
        esac
    done
}

# start_part NAME [WORD]...: starts a process of script/lib/stack.conf, with these words after its
# command. Returns when the process is up; exports what it gives its users.
start_part() {
    local name=$1 path condition assignment
    shift
    while IFS= read -r path; do
        rm -rf "$(filled_in "$path")"
    done < <(described "$name" remove)
    while IFS= read -r path; do
        mkdir -p "$(filled_in "$path")"
    done < <(described "$name" folder)
    command_of "$name"
    start "$name" "${COMMAND[@]}" "$@"
    while IFS= read -r condition; do
        wait_for "$name" 30 "$(filled_in "$condition")" holds "$name" "$condition"
    done < <(described "$name" ready)
    while IFS= read -r assignment; do
        export "$(filled_in "$assignment")"
    done < <(described "$name" gives)
}

# Laid out like a directory of the kernel's backlight class.
make_backlight() {
    mkdir -p "$BACKLIGHT"
    [[ -s $BACKLIGHT/max_brightness ]] || echo 255 >"$BACKLIGHT/max_brightness"
    [[ -s $BACKLIGHT/brightness ]] || echo 255 >"$BACKLIGHT/brightness"
    export LCD_BACKLIGHT=$BACKLIGHT
}

start_daemon() {
    start_part daemon
}

# Accounts and certificate survive from run to run. Serves the web page if it has been built.
start_redfish() {
    local web=()
    PAGE=
    if [[ -f $ORVANE_ROOT/web/dist/index.html ]]; then
        web=(--web "$ORVANE_ROOT/web/dist")
    fi
    start_part redfish "${web[@]}"
    PAGE=${web:+$ORVANE_REDFISH/}
}

start_stack() {
    say "starting redis, X server, cooling unit, backlight, the daemon and the Redfish service"
    choose_sockets
    start_part redis
    start_part x-server
    start_part cooling-unit --control "${VALUE[sockets]}/cooling-unit.sock"
    make_backlight
    "$BUILT/orvanectl" provision >"$LOGS/provision.log" 2>&1 ||
        fail_with_log "$LOGS/provision.log" "orvanectl provision failed"
    start_daemon
    start_redfish
}

# Fails if a program did not end in order.
stop_stack() {
    local status=0
    stop_all || status=1
    if [[ -n $TEMPORARY ]]; then
        rm -rf "$TEMPORARY"
        TEMPORARY=
    fi
    return "$status"
}

print_places() {
    local password="user admin, with the password that was set on the page"
    if [[ -r $RUN/redfish/first-password ]]; then
        password="user admin, password: cat ${RUN#"$ORVANE_ROOT"/}/redfish/first-password"
    fi
    cat <<PLACES

  web page       ${PAGE:-not built; script/web builds it}
                 $password
                 (the certificate is self-signed: the browser warns once)
  Redfish        $ORVANE_REDFISH/redfish/v1/
  object store   $OSSEL_REDIS
  settings       $RUN/view/var-database/webgui.db
  daemon's /tmp  $RUN/view/tmp
  backlight      $BACKLIGHT
  display        $DISPLAY
  cooling unit   $COOLING_UNIT
  logs           $LOGS

  In another terminal:
    export OSSEL_REDIS=$OSSEL_REDIS
    cd $ORVANE_ROOT && build/release/orvanectl get

PLACES
}
