# bash completion for orvanectl: commands, options, names of settings and their values.
# A test compares these lists with the program.

_orvanectl_commands="get set action status events watch request provision"
_orvanectl_readable="Language ScreenBrightness BacklightOff ActiveAlarmScreensaver InactivityTimer
    MeasurementSystem DateFormat TimeFormat RoomAverage HiLoPeriod Theme InitialBoot"
_orvanectl_settings="$_orvanectl_readable EventUserName"

# Allowed values of a setting, one per line; nothing if any text is allowed.
_orvanectl_values() {
    case $1 in
        ScreenBrightness) printf '%s\n' 1 2 3 4 5 6 7 ;;
        BacklightOff)
            printf '%s\n' Never "Off After 1 Minute" "Off After 2 Minutes" "Off After 3 Minutes" \
                "Off After 4 Minutes" "Off After 5 Minutes" ;;
        Theme) printf '%s\n' dark light ;;
        MeasurementSystem) printf '%s\n' Imperial Metric ;;
        RoomAverage | InitialBoot) printf '%s\n' true false ;;
    esac
}

_orvanectl_options() {
    local common="--redis --timeout --json --help"
    case $1 in
        "") echo "$common --version" ;;
        get) echo "$common --repeat" ;;
        set) echo "$common --force --user" ;;
        events) echo "$common --since --count" ;;
        request) echo "$common --field" ;;
        *) echo "$common" ;;
    esac
}

# Offers the values of setting $1 that begin with $2, each after $3. Quotes blanks unless the word
# begins with a quote.
_orvanectl_offer_values() {
    local typed=$2 value quoted=
    case $typed in
        \"* | \'*) quoted=yes typed=${typed:1} ;;
    esac
    typed=${typed//\\/}
    while IFS= read -r value; do
        [[ $value == "$typed"* ]] || continue
        [[ $quoted ]] || printf -v value '%q' "$value"
        COMPREPLY+=("$3$value")
    done < <(_orvanectl_values "$1")
}

# Offers "NAME=" without a trailing blank.
_orvanectl_offer_settings() {
    local name
    for name in $_orvanectl_settings; do
        [[ $name == "$1"* ]] && COMPREPLY+=("$name=")
    done
    compopt -o nospace 2>/dev/null
    return 0
}

_orvanectl_assignment() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # bash splits "Theme=da" into three words, unless COMP_WORDBREAKS lacks "=".
    if [[ $current == "=" ]]; then
        _orvanectl_offer_values "$previous" "" ""
    elif [[ $previous == "=" ]]; then
        _orvanectl_offer_values "${COMP_WORDS[COMP_CWORD - 2]}" "$current" ""
    elif [[ $current == *=* ]]; then
        _orvanectl_offer_values "${current%%=*}" "${current#*=}" "${current%%=*}="
    else
        _orvanectl_offer_settings "$current"
    fi
}

# Prints the command among the words before the current one.
_orvanectl_command() {
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            --redis | --timeout) ((i++)) ;;
            -* | =) ;;
            *) echo "${COMP_WORDS[i]}"; return ;;
        esac
    done
}

_orvanectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command words
    COMPREPLY=()
    command=$(_orvanectl_command)
    case $previous in
        --redis | --timeout | --repeat | --user | --since | --count | --field) return ;;
    esac
    if [[ $current == -* ]]; then
        words=$(_orvanectl_options "$command")
    else
        case $command in
            "") words=$_orvanectl_commands ;;
            get | watch) words=$_orvanectl_readable ;;
            action) words="turn-off-lcd gui-ready" ;;
            set) _orvanectl_assignment; return ;;
            *) return ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _orvanectl orvanectl
