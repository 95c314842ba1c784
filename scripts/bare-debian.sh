#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs a command on a clean copy of the tree in a bare Debian: a chroot with what debootstrap calls "minbase".
#
#   scripts/bare-debian.sh [OPTION]... SUITE COMMAND [ARGUMENT]...
#
#   SUITE           bookworm, trixie, sid, ...; the command runs in the tree's copy and gives its status
#   --cache FOLDER  keeps the bare system there, and next time copies it
#   --out FOLDER    is /out for the command, to leave results in
#
# Needs root, debootstrap and git. Packages come from where this machine has its own. The system's mounts and processes
# live in namespaces that end with the command, and its files are removed, whatever happens.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
    sed -n '3,13s/^# \{0,1\}//p' scripts/bare-debian.sh >&2
    exit 2
}

cache='' out=''
while [ $# -gt 0 ]; do
    case "$1" in
    --cache) cache=${2:?--cache needs a folder}; shift 2 ;;
    --out) out=${2:?--out needs a folder}; shift 2 ;;
    -*) usage ;;
    *) break ;;
    esac
done
[ $# -ge 2 ] || usage
suite=$1
shift

fail() { echo "bare-debian: $1" >&2; exit 1; }
[ "$(id -u)" -eq 0 ] || fail "needs root, for a chroot"
for program in debootstrap git unshare; do
    command -v $program >/dev/null || fail "needs $program"
done
mirror=$(apt-get indextargets --format "\$(REPO_URI)" 'Created-By: Packages' | head -n 1)
[ -n "$mirror" ] || fail "this machine's apt has no source of packages"

work=$(mktemp -d /var/tmp/bare-debian-XXXXXX)
root=$work/root
inside=''
# shellcheck disable=SC2317 # the trap calls it
clean_up() {
    [ -z "$inside" ] || kill -KILL "$inside" 2>/dev/null || true
    # The namespaces are gone, or never seen from here; a tree in use could only be one that something else mounted.
    rm -rf --one-file-system "$work" || { sleep 1; rm -rf --one-file-system "$work"; }
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

base=$work/root
[ -z "$cache" ] || base=$cache/$suite
if [ ! -d "$base" ]; then
    mkdir -p "$(dirname "$base")"
    partial=$work/partial
    debootstrap --variant=minbase "$suite" "$partial" "$mirror" >"$work/log" 2>&1 ||
        { tail -n 5 "$work/log" >&2; fail "debootstrap made no $suite"; }
    mv "$partial" "$base"
fi
[ "$base" = "$root" ] || cp -a "$base" "$root"

cp -a /etc/apt/apt.conf.d /etc/apt/auth.conf.d "$root/etc/apt/"
cp -L /etc/hosts /etc/resolv.conf "$root/etc/"
echo "deb $mirror $suite main" >"$root/etc/apt/sources.list"
# Packages start no services.
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
chmod +x "$root/usr/sbin/policy-rc.d"

mkdir "$root/src"
git ls-files -z | tar --create --null --files-from=- --ignore-failed-read 2>/dev/null | tar --extract --directory "$root/src"
if [ -n "$out" ]; then
    mkdir -p "$out" "$root/out"
    out=$(realpath "$out")
fi

# The root is a mount point of its own, because unshare changes the mount at "/" and could not find one otherwise.
# shellcheck disable=SC2016 # expanded by the shell inside
unshare --mount --pid --fork --kill-child sh -euc '
    root=$1 out=$2
    shift 2
    mount --bind "$root" "$root"
    mount -t proc proc "$root/proc"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    [ -z "$out" ] || mount --bind "$out" "$root/out"
    env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 ${http_proxy:+http_proxy="$http_proxy"} \
        chroot "$root" sh -euc "cd /src; exec \"\$@\"" bare-debian "$@"
    exit' bare-debian "$root" "$out" "$@" <&0 &
inside=$!
status=0
wait "$inside" || status=$?
inside=''
exit "$status"
