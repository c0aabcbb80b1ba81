# Clean roots of a Debian release, made by mmdebstrap, and what a root needs mounted before a command
# runs in it. Expects ORVANE_ROOT and the functions of common.sh.
# shellcheck shell=bash

# root_refusal: prints why this process cannot enter a root, or nothing if it can.
root_refusal() {
    if ((EUID != 0)); then
        echo "this needs root; run it through sudo"
    else
        unshare --mount --pid --fork --cgroup --uts --ipc --net mount -t tmpfs none /mnt 2>&1 |
            sed 's/^/this needs root with CAP_SYS_ADMIN (docker run --privileged): /' || true
    fi
}

# make_root_archive RELEASE FILE LOG PACKAGE...: makes FILE, a root with these packages; a second call
# with the same packages keeps it. The caller reports a failure; LOG tells why.
make_root_archive() {
    local release=$1 archive=$2 log=$3 names
    shift 3
    names=$(IFS=, && echo "$*")
    if [[ ! -f $archive || $(cat "$archive.packages" 2>/dev/null) != "$names" ]]; then
        have mmdebstrap || "$ORVANE_ROOT/script/bootstrap" --clean-root --quiet || return
        say "making a clean root of $release (log: ${log#"$ORVANE_ROOT"/})"
        mmdebstrap --variant=minbase --include="$names" "$release" "$archive" >"$log" 2>&1 </dev/null || return
        echo "$names" >"$archive.packages"
    fi
}

# mount_devices ROOT: a /dev of its own; the nodes that programs expect are the machine's.
mount_devices() {
    local root=$1 device
    mount -t tmpfs -o mode=755 tmpfs "$root/dev"
    for device in null zero full random urandom tty; do
        : >"$root/dev/$device"
        mount --bind "/dev/$device" "$root/dev/$device"
    done
    mkdir "$root/dev/shm" "$root/dev/pts"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
    ln -s pts/ptmx "$root/dev/ptmx"
    ln -s /proc/self/fd "$root/dev/fd"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
}

# enter_root ROOT COMMAND...: becomes COMMAND with ROOT, a mount point, as its root; the environment is
# empty but for what COMMAND sets. Not chroot: the kernel refuses user namespaces in a chroot.
enter_root() {
    local root=$1
    shift
    mkdir -p "$root/run/outside"
    cd "$root" || return
    pivot_root . run/outside
    # shellcheck disable=SC2093 # the shell inside takes over
    exec env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        sh -c 'umount -l /run/outside && exec "$@"' sh "$@"
}
