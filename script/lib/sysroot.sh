# The armhf libraries and headers that a cross build links and qemu-user runs with, unpacked
# into a folder. Expects ORVANE_ROOT and the functions of common.sh.
# shellcheck shell=bash
#
# Why a folder and not packages of a second architecture (dpkg --add-architecture): it needs no root,
# cannot displace a package of the machine with another version, is the same everywhere, and goes away
# with build/. apt-get, with its own state folder, resolves dependencies for armhf, checks signatures,
# downloads 15 MB, and installs nothing.

readonly SYSROOT=$ORVANE_ROOT/build/armhf-sysroot

# The -dev packages of script/bootstrap, and what the compiler always needs.
sysroot_packages() {
    printf '%s\n' libc6-dev libstdc++6
    "$ORVANE_ROOT/script/bootstrap" --build --list | grep -- '-dev$'
}

# private_apt FOLDER ARGUMENT...: apt-get for armhf with all its state in FOLDER. The empty status file
# means that nothing is installed.
private_apt() {
    local folder=$1
    shift
    mkdir -p "$folder/state/lists/partial" "$folder/cache/archives/partial"
    : >"$folder/status"
    cat >"$folder/apt.conf" <<CONFIGURATION
APT::Architecture "armhf";
APT::Architectures { "armhf"; };
APT::Install-Recommends "false";
APT::Sandbox::User "root";
Dir::State "$folder/state";
Dir::State::status "$folder/status";
Dir::Cache "$folder/cache";
CONFIGURATION
    APT_CONFIG=$folder/apt.conf apt-get -q -y "$@"
}

# Absolute links point into the board's root, not this machine's.
make_links_relative() {
    local root=$1 link
    find "$root" -type l -lname '/*' -print0 |
        while IFS= read -r -d '' link; do
            ln -sfnr "$root$(readlink "$link")" "$link"
        done
}

# record_package FILE ROOT FINAL: adds it to a package database below ROOT, with the paths that its
# files will have below FINAL; dpkg-shlibdeps looks up there which package a library belongs to.
record_package() {
    local file=$1 database=$2/var/lib/dpkg final=$3 name member
    mkdir -p "$database/info" "$database/updates"
    echo 1 >"$database/info/format" # of the files' names: with the architecture where several may be
    name=$database/info/$(dpkg-deb -f "$file" Package)
    if [[ $(dpkg-deb -f "$file" Multi-Arch) == same ]]; then
        name=$name:armhf
    fi
    {
        dpkg-deb -f "$file" Package Version Architecture Multi-Arch Depends Provides &&
            printf 'Status: install ok installed\nMaintainer: none\nDescription: unpacked\n\n'
    } >>"$database/status" || return 1
    dpkg-deb --fsys-tarfile "$file" | tar -t | sed "s|^\\.|$final|; s|/\$||" >"$name.list" || return 1
    for member in symbols shlibs; do
        dpkg-deb --info "$file" "$member" >"$name.$member" 2>/dev/null || rm -f "$name.$member"
    done
}

fill_sysroot() {
    local packages=("$@") work=$SYSROOT.new package
    rm -rf "$work" "$SYSROOT"
    mkdir -p "$work/root"
    # A missing index matters only if a package is missing, too.
    private_apt "$work" update || complain "apt-get update: not every index could be read"
    private_apt "$work" --download-only install "${packages[@]}" || return 1
    for package in "$work"/cache/archives/*.deb; do
        dpkg-deb --extract "$package" "$work/root" || return 1
        record_package "$package" "$work/root" "$SYSROOT" || return 1
    done
    make_links_relative "$work/root" || return 1
    printf '%s\n' "${packages[@]}" >"$work/root/packages"
    mv "$work/root" "$SYSROOT" && rm -rf "$work"
}

# make_sysroot LOG: fills the folder, unless it already holds these packages.
make_sysroot() {
    local packages log=$1
    mapfile -t packages < <(sysroot_packages)
    if [[ -s $SYSROOT/var/lib/dpkg/info/format &&
        $(cat "$SYSROOT/packages" 2>/dev/null) == "$(printf '%s\n' "${packages[@]}")" ]]; then
        return 0
    fi
    say "unpacking armhf libraries into ${SYSROOT#"$ORVANE_ROOT"/}"
    if ! fill_sysroot "${packages[@]}" >"$log" 2>&1 </dev/null; then
        tail -n 20 "$log" >&2
        die "cannot unpack the armhf libraries; whole output: $log"
    fi
}
