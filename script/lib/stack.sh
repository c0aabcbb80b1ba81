# The parts around the daemon and the daemon itself, as script/run starts them under $RUN from
# the programs in $BUILT. How a program is started and stopped is said in processes.sh.
# shellcheck shell=bash

SOCKETS=      # folder of the redis socket
TEMPORARY=    # the same, where it is one of ours to remove
DISPLAY_NAME= # of the virtual X server
UNIT_ADDRESS= # host:port of the cooling unit
REDFISH=      # address of the Redfish service
BACKLIGHT=$RUN/backlight

# A unix socket's path has at most 107 characters; a checkout may lie deeper than that.
choose_sockets() {
    SOCKETS=$RUN/redis
    mkdir -p "$SOCKETS"
    if ((${#SOCKETS} > 90)); then
        TEMPORARY=$(mktemp -d "${XDG_RUNTIME_DIR:-/tmp}/orvane-run-XXXXXX")
        SOCKETS=$TEMPORARY
    fi
}

start_redis() {
    local socket=$SOCKETS/redis.sock
    rm -f "$socket"
    start redis redis-server --port 0 --unixsocket "$socket" --unixsocketperm 700 \
        --dir "$SOCKETS" --save '' --appendonly no --daemonize no
    wait_for redis 20 "an answer on $socket" redis_answers
    export OSSEL_REDIS=unix:$socket
}

redis_answers() {
    [[ $(redis-cli -s "$SOCKETS/redis.sock" PING) == PONG ]]
}

# Its lock and its socket lie in a view of its own, so that the machine's X servers are left
# alone; clients find it by its abstract socket. Without -noreset it would forget the screen
# saver's settings whenever its last client leaves.
start_x_server() {
    local number=$RUN/x-server/display
    rm -rf "$RUN/x-server"
    mkdir -p "$RUN/x-server"
    start x-server "$ORVANE_ROOT/script/private-view" --bind "$RUN" "$RUN/x-server" -- \
        setpriv --pdeathsig TERM -- Xvfb -displayfd 3 -screen 0 640x480x24 -noreset -nolisten tcp 3>"$number"
    wait_for x-server 20 "a display number" test -s "$number"
    DISPLAY_NAME=:$(<"$number")
    export DISPLAY=$DISPLAY_NAME
    wait_for x-server 20 "an answer on display $DISPLAY" xset q
}

# A port that is free, so that several checkouts stay apart; `cooling-unit-sim tell` changes
# its behaviour through the control socket.
start_cooling_unit() {
    local log=$LOGS/cooling-unit.log state=$RUN/cooling-unit.state
    start cooling-unit "$BUILT/cooling-unit-sim" --listen 127.0.0.1:0 --state "$state" \
        --control "$SOCKETS/cooling-unit.sock"
    wait_for cooling-unit 20 "its address" grep -qE 'listens on [0-9.]+:[0-9]+' "$log"
    UNIT_ADDRESS=$(sed -n 's/.*listens on \([0-9.]*:[0-9]*\).*/\1/p' "$log" | head -n 1)
    export COOLING_UNIT=$UNIT_ADDRESS
}

# Laid out like a directory of the kernel's backlight class.
make_backlight() {
    mkdir -p "$BACKLIGHT"
    [[ -s $BACKLIGHT/max_brightness ]] || echo 255 >"$BACKLIGHT/max_brightness"
    [[ -s $BACKLIGHT/brightness ]] || echo 255 >"$BACKLIGHT/brightness"
    export LCD_BACKLIGHT=$BACKLIGHT
}

# The daemon gives up its pauses for "/tmp/run" only where that folder is there already; its
# marker of an earlier run would be mistaken for this one's.
start_daemon() {
    local view=$RUN/view
    rm -rf "$view/tmp"
    mkdir -p "$view/tmp/run"
    start daemon "$ORVANE_ROOT/script/private-view" --bind "$ORVANE_ROOT" --bind "$SOCKETS" "$view" -- \
        setpriv --pdeathsig TERM -- "$BUILT/orvane-webgui"
    wait_for daemon 30 "the run marker (/tmp/run/Stidre.run in its view)" test -e "$view/tmp/run/Stidre.run"
}

# Its accounts and its certificate survive from run to run; the web page is served where it has
# been built.
start_redfish() {
    local log=$LOGS/redfish.log web=()
    if [[ -d $ORVANE_ROOT/web/dist ]]; then
        web=(--web "$ORVANE_ROOT/web/dist")
    fi
    start redfish "$BUILT/orvane-redfish" --listen 127.0.0.1 --port 0 --state "$RUN/redfish" "${web[@]}"
    wait_for redfish 20 "its address" grep -q 'serving https://' "$log"
    REDFISH=$(sed -n 's|.*serving \(https://[^/]*\)/.*|\1|p' "$log")
}

start_stack() {
    say "starting redis, X server, cooling unit, backlight, the daemon and the Redfish service"
    choose_sockets
    start_redis
    start_x_server
    start_cooling_unit
    make_backlight
    "$BUILT/orvanectl" provision >"$LOGS/provision.log" 2>&1 ||
        fail_with_log "$LOGS/provision.log" "orvanectl provision failed"
    start_daemon
    start_redfish
}

# Fails when a program has not ended in an orderly way.
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
    local page="not built; script/web builds it"
    if [[ -d $ORVANE_ROOT/web/dist ]]; then
        page=$REDFISH/
    fi
    cat <<PLACES

  object store   $OSSEL_REDIS
  settings       $RUN/view/var-database/webgui.db
  daemon's /tmp  $RUN/view/tmp
  backlight      $BACKLIGHT
  display        $DISPLAY_NAME
  cooling unit   $UNIT_ADDRESS
  Redfish        $REDFISH/redfish/v1/ (user admin, first password in $RUN/redfish/first-password)
  web page       $page
  logs           $LOGS

  In another terminal:
    export OSSEL_REDIS=$OSSEL_REDIS
    cd $ORVANE_ROOT && build/release/orvanectl get

PLACES
}
