# Building the web page (web/) for script/run and script/web. Expects common.sh.
# shellcheck shell=bash

readonly WEB=$ORVANE_ROOT/web
readonly PAGE_STATE=$ORVANE_ROOT/build/page

in_web() {
    (cd "$WEB" && npm run --silent "$@")
}

# How many packages npm will install on this machine: the lock file also lists those of others.
count_page_packages() {
    node -e '
        const fits = (allowed, here) => allowed === undefined || allowed.includes(here);
        const all = Object.entries(require(process.argv[1]).packages).filter(([place, entry]) => place !== "" &&
            fits(entry.os, process.platform) && fits(entry.cpu, process.arch) && fits(entry.libc, "glibc"));
        console.log(all.length);' "$WEB/package-lock.json"
}

# Turns npm's output into steps for show_progress: of each package, a description and an archive.
steps_of_npm() {
    awk -v all="$(($1 * 2))" '/^npm http / && done < all { printf "[%d/%d] \n", ++done, all; fflush() }'
}

# install_page_packages LOG: the packages of web/package-lock.json, with npm's output in LOG. Takes seconds,
# so only if the lock file has changed.
install_page_packages() {
    local log=$1 mark=$WEB/node_modules/.installed-for count
    if cmp -s "$WEB/package-lock.json" "$mark"; then
        return 0
    fi
    count=$(count_page_packages)
    say "installing $count packages of web/package-lock.json (from $(npm config get registry --loglevel=error); log: ${log#"$ORVANE_ROOT"/})"
    # The retries of a registry that is away would otherwise take minutes.
    if ! (cd "$WEB" && npm ci --no-audit --no-fund --loglevel=http --fetch-retries=1 --fetch-timeout=60000) \
        </dev/null 2>&1 | tee "$log" | steps_of_npm "$count" | show_progress "npm packages"; then
        complain "npm failed:"
        { grep -E '^npm (error|ERR!)' "$log" || tail -n 12 "$log"; } | grep -vE '    at |[{}]' | head -n 8 | sed 's/^/    /' >&2
        complain "check the network and npm's settings (npm config get registry; npm config get proxy)"
        return 1
    fi
    cp "$WEB/package-lock.json" "$mark"
}

# Digest of what the page is built from, and of what was built: it says whether both belong together.
page_digest() {
    (
        cd "$WEB" || exit 1
        find index.html package.json package-lock.json tsconfig.json vite.config.ts public src dist -type f -print0 |
            sort -z | xargs -0 sha256sum | sha256sum
    )
}

page_is_current() {
    [[ -f $WEB/dist/index.html && -f $PAGE_STATE/digest && $(page_digest) == "$(<"$PAGE_STATE/digest")" ]]
}

# build_page: installs what it needs from npm and builds into web/dist. One at a time. Fails with a message.
build_page() {
    mkdir -p "$PAGE_STATE"
    (
        flock 8
        install_page_packages "$PAGE_STATE/npm.log" || exit 1
        in_web build 8>&- || exit 1
        page_digest >"$PAGE_STATE/digest"
    ) 8>"$PAGE_STATE/lock"
}
