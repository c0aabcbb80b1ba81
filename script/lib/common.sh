# What every script shares: the repository's folder, messages, errors, help texts, building.
# shellcheck shell=bash

ORVANE_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
ORVANE_SCRIPT=$(basename "$0")
# An ordinary user's PATH often lacks sbin (mount, chroot), a bare one /usr/local/bin (redis-server).
PATH=$PATH:/usr/local/bin:/usr/sbin:/sbin

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

# print_help FILE: the comment block at the top of a script is its help text.
print_help() {
    sed -n '2,/^[^#]/{/^#/{s/^# \{0,1\}//;p}}' "$1"
}

have() {
    command -v "$1" >/dev/null 2>&1
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
# all checkouts share its objects.
build_preset() {
    local preset=$1 targets=()
    shift
    if (($# > 0)); then
        targets=(--target "$@")
    fi
    configure_preset "$preset" &&
        CCACHE_BASEDIR=$ORVANE_ROOT CCACHE_NOHASHDIR=1 \
            cmake --build "$ORVANE_ROOT/build/$preset" -j "$(nproc)" "${targets[@]}"
}
