# What every script shares: the repository's folder, messages, errors, help texts, building.
# shellcheck shell=bash

ORVANE_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
ORVANE_SCRIPT=$(basename "$0")
# An ordinary user's PATH often lacks sbin (mount, chroot), a bare one /usr/local/bin (redis-server);
# build/bin has that server where script/bootstrap ran without root.
PATH=$PATH:/usr/local/bin:/usr/sbin:/sbin:$ORVANE_ROOT/build/bin

say() {
    printf '%s: %s\n' "$ORVANE_SCRIPT" "$*"
}

complain() {
    printf '%s: %s\n' "$ORVANE_SCRIPT" "$*" >&2
}

# die MESSAGE...: one line on standard error, exit status 1.
die() {
    complain "$@"
    exit 1
}

# usage_error MESSAGE...: like die, with exit status 2.
usage_error() {
    complain "$* (see $ORVANE_SCRIPT --help)"
    exit 2
}

# unknown_argument WORD ALLOWED...: a usage error that names both.
unknown_argument() {
    usage_error "unknown argument \"$1\"; allowed: ${*:2}"
}

# The presets of CMakePresets.json that can be built.
known_presets() {
    awk '
        /"configurePresets"/ { inside = 1 }
        /"buildPresets"/ { inside = 0 }
        inside && match($0, /"name": "[^"]*"/) { name = substr($0, RSTART + 9, RLENGTH - 10) }
        inside && /"hidden": true/ { name = "" }
        inside && /^    }/ && name != "" { print name }' "$ORVANE_ROOT/CMakePresets.json"
}

# print_help FILE: the comment block at the top of a script is its help text.
print_help() {
    sed -n '2,/^[^#]/{/^#/{s/^# \{0,1\}//;p}}' "$1"
}

have() {
    command -v "$1" >/dev/null 2>&1
}

# cannot_reach_packages LOG: apt's output in LOG shows that the package server does not answer.
cannot_reach_packages() {
    grep -qE 'Temporary failure|Could not resolve|Could not connect|Connection (failed|timed out)|Unable to connect' "$1"
}

# Prints why the page cannot be built with this machine's Node.js; nothing if it can.
node_problem() {
    local version
    if ! have node || ! have npm; then
        echo "there is no Node.js with npm; script/bootstrap --page installs them"
        return 0
    fi
    version=$(node --version) || version=unknown
    if ! [[ $version =~ ^v([0-9]+)\.([0-9]+)\. ]] || ((BASH_REMATCH[1] * 1000 + BASH_REMATCH[2] < 18019)); then
        echo "$(command -v node) is Node.js $version; the page needs 18.19 or newer: update it, or take it out of PATH"
    fi
}

# configure_preset NAME: configures build/NAME, with Ninja if it is installed and the folder is new.
configure_preset() {
    local preset=$1 generator=()
    if [[ ! -f $ORVANE_ROOT/build/$preset/CMakeCache.txt ]] && have ninja; then
        generator=(-G Ninja)
    fi
    (cd "$ORVANE_ROOT" && cmake --preset "$preset" "${generator[@]}")
}

# build_preset NAME [TARGET]...: configures and builds build/NAME. ccache gets relative paths, so that
# all checkouts share its objects. With ORVANE_KEEP_GOING an error does not stop what is independent of it.
build_preset() {
    local preset=$1 targets=()
    shift
    if (($# > 0)); then
        targets=(--target "$@")
    fi
    configure_preset "$preset" || return
    if [[ -n ${ORVANE_KEEP_GOING-} ]]; then
        # Ninja takes a number of errors, make none.
        targets+=(-- -k)
        [[ ! -f $ORVANE_ROOT/build/$preset/build.ninja ]] || targets+=(0)
    fi
    CCACHE_BASEDIR=$ORVANE_ROOT CCACHE_NOHASHDIR=1 \
        cmake --build "$ORVANE_ROOT/build/$preset" -j "$(nproc)" "${targets[@]}"
}

# build_shown LOG PRESET [TARGET]...: build_preset with its whole output in LOG, showing how far it is.
# On failure the compiler's errors follow on standard error, and the caller ends the script.
build_shown() {
    local log=$1 status=0
    shift
    say "building ($1; log: ${log#"$ORVANE_ROOT"/})"
    mkdir -p "$(dirname "$log")"
    (
        set -o pipefail
        build_preset "$@" 2>&1 </dev/null | tee "$log" | show_progress "$1"
    ) || status=$?
    if ((status != 0)); then
        complain "the build failed (whole output: $log):"
        { grep -E -A 6 '(error|FAILED|Error):? ' "$log" || tail -n 40 "$log"; } | head -n 60 >&2
    fi
    return "$status"
}

# count_lines ALL: turns each line of its input into a step for show_progress.
count_lines() {
    awk -v all="$1" '{ printf "[%d/%d] %s\n", NR, all, $0; fflush() }'
}

# show_progress NAME: reads the output of a build, of ctest or of another script and shows its `[12/507]`,
# `[ 12%]`, `12/507 Test` or `progress: 12/507`: one live line on a terminal, for another script
# "progress: 12/507 NAME", otherwise a line at most every 30 s.
show_progress() {
    local name=$1 line part='' count=0 all=0 next=0 status live=no
    local -r began=$EPOCHSECONDS
    while true; do
        status=0
        IFS= read -r -t 1 line || status=$?
        if ((status > 128)); then # nothing new for a second: only the clock goes on
            part+=$line
        elif ((status != 0)); then
            break
        else
            line=$part$line part=
            [[ $line =~ ^\[?\ *([0-9]+)(/([0-9]+)|%)(\]|\ Test)\  || $line =~ ^progress:\ ([0-9]+)(/([0-9]+))\  ]] || continue
            count=${BASH_REMATCH[1]} all=${BASH_REMATCH[3]:-100}
            if [[ ${ORVANE_PROGRESS-} == lines ]]; then
                printf 'progress: %d/%d %s\n' "$count" "$all" "$name"
            fi
        fi
        if ((all == 0)) || [[ ${ORVANE_PROGRESS-} == lines ]]; then
            continue
        elif [[ -t 1 ]]; then
            printf '\r  %s\033[K' "$(progress_text "$name" "$count" "$all" "$((EPOCHSECONDS - began))")"
            live=yes
        elif ((EPOCHSECONDS >= next)); then
            printf '  %s\n' "$(progress_text "$name" "$count" "$all" "$((EPOCHSECONDS - began))")"
            next=$((EPOCHSECONDS + 30))
        fi
    done
    if [[ $live == yes ]]; then
        printf '\r\033[K'
    fi
}

# progress_text NAME COUNT ALL SECONDS: "release 12/507, 0:40, about 3 min left"; what is left only once
# the pace is known.
progress_text() {
    local name=$1 count=$2 all=$3 seconds=$4 left
    printf '%s %d/%d, %d:%02d' "$name" "$count" "$all" "$((seconds / 60))" "$((seconds % 60))"
    if ((seconds >= 5 && count * 20 >= all)); then
        left=$((seconds * (all - count) / count))
        if ((left >= 90)); then
            printf ', about %d min left' "$(((left + 30) / 60))"
        elif ((left >= 5)); then
            printf ', about %d s left' "$left"
        fi
    fi
}
