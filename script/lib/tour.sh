# The tour of script/run: each command as a newcomer can repeat it, with its output. Requests to the
# daemon must be answered "Success"; the other steps show where the change has arrived. No pauses, and
# colours only on a terminal, because the output is also a log.
# shellcheck shell=bash

# The cooling unit's register as mbpoll counts it (docs/devices.md).
readonly UNIT_STATION=1 UNIT_REGISTER=101

BOLD='' COMMAND_COLOUR='' PLAIN=''
if [[ -t 1 && -z ${NO_COLOR-} ]]; then
    BOLD=$'\e[1m' COMMAND_COLOUR=$'\e[36m' PLAIN=$'\e[0m'
fi
readonly BOLD COMMAND_COLOUR PLAIN

chapter() {
    printf '\n%s== %s%s\n' "$BOLD" "$1" "$PLAIN"
}

# show COMMAND: prints the command as typed in the repository's folder, and its output; a failure ends
# the tour.
show() {
    local output status=0
    printf '%s$ %s%s\n' "$COMMAND_COLOUR" "$1" "$PLAIN"
    output=$(cd "$ORVANE_ROOT" && bash -c "$1" 2>&1) || status=$?
    [[ -z $output ]] || printf '%s\n' "$output"
    ((status == 0)) || fail_with_log "$LOGS/daemon.log" "the tour failed (status $status) at: $1"
}

panel() {
    show "cat build/run/backlight/brightness"
    show "xset -display $DISPLAY q | grep timeout:"
}

unit() {
    show "mbpoll -q -1 -m tcp -p ${COOLING_UNIT##*:} -t 4 -a $UNIT_STATION -r $UNIT_REGISTER ${COOLING_UNIT%:*} | grep ']:'"
}

# Values different from the present ones, so that every tour changes something.
choose_values() {
    local present
    present=$("$BUILT/orvanectl" get --json) || die "cannot read the settings; see $LOGS/daemon.log"
    BRIGHTNESS=2 THEME=light SYSTEM=Imperial BACKLIGHT_OFF="Off After 1 Minute"
    if [[ $present == *'"ScreenBrightness":"2"'* ]]; then BRIGHTNESS=6; fi
    if [[ $present == *'"Theme":"light"'* ]]; then THEME=dark; fi
    if [[ $present == *'"MeasurementSystem":"Imperial"'* ]]; then SYSTEM=Metric; fi
    if [[ $present == *'"BacklightOff":"Off After 1 Minute"'* ]]; then BACKLIGHT_OFF=Never; fi
}

run_tour() {
    choose_values
    local marker=build/run/view/tmp/buzzer.silence

    chapter "The daemon is up, and a read updates all settings"
    show "build/release/orvanectl status"
    show "build/release/orvanectl request 00001 80000000-0000-0000-0000-008000000000"
    show "build/release/orvanectl get"

    chapter "Panel and cooling unit before any change"
    panel
    unit

    chapter "One change of several settings"
    show "build/release/orvanectl set --user tour ScreenBrightness=$BRIGHTNESS Theme=$THEME MeasurementSystem=$SYSTEM 'BacklightOff=$BACKLIGHT_OFF'"
    show "build/release/orvanectl get ScreenBrightness Theme MeasurementSystem BacklightOff"

    chapter "An event announced it"
    show "build/release/orvanectl events --since 0 --count 1"

    chapter "Panel, cooling unit and database after it"
    panel
    unit
    show "sqlite3 build/run/view/var-database/webgui.db 'SELECT Brightness, BacklightOff, Measurement FROM webgui_tbl; SELECT Data FROM View_Theme'"

    chapter "Both actions: the panel goes dark, and the buzzer may sound again"
    show "build/release/orvanectl action turn-off-lcd"
    show "touch $marker"
    show "build/release/orvanectl action gui-ready"
    show "test ! -e $marker"

    tour_of_redfish
    tour_of_page
}

tour_of_page() {
    [[ $PAGE ]] || return 0
    chapter "The web page"
    show "curl -s --cacert build/run/redfish/certificate.pem $PAGE | grep -o '<title>.*</title>'"
}

# Only while the first password is valid.
tour_of_redfish() {
    local webgui=$ORVANE_REDFISH/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI
    local curl="curl -s -K build/run/redfish/curl.conf"
    [[ -r $RUN/redfish/first-password ]] || return 0
    write_curl_config
    chapter "The same over HTTPS: read, change, act; user and password are in a file"
    show "$curl '$webgui?\$select=ScreenBrightness,Theme'; echo"
    show "$curl -o /dev/null -w '%{http_code}\n' -X PATCH -H 'Content-Type: application/json' -d '{\"ScreenBrightness\": 4}' $webgui"
    show "cat build/run/backlight/brightness"
    show "$curl -o /dev/null -w '%{http_code}\n' -X POST $webgui/Actions/WebGUI.TurnOffLCD"
}

# fail-with-body makes any error status a failure; the service's own certificate is trusted.
write_curl_config() {
    local file=$RUN/redfish/curl.conf
    (
        umask 077
        printf 'user = "admin:%s"\ncacert = "%s"\nfail-with-body\n' \
            "$(<"$RUN/redfish/first-password")" "$RUN/redfish/certificate.pem" >"$file"
    )
}
