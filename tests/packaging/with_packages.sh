#!/usr/bin/env bash
# Runs a command as if some Debian packages were installed, without changing the machine: the command sees a copy of the
# root file system that is discarded afterwards. Only the current folder, in which the command runs, is the real one.
# The checkout is hidden, so that the command uses nothing of ours but the packages.
# Usage: with_packages.sh FOLDER COMMAND [ARGUMENT…]; FOLDER contains the packages. Exits with 77 unless it runs as root
# with the right to mount.
set -euo pipefail

checkout=$(realpath "$(dirname "$0")/../..")
[ $# -ge 2 ] || { echo "usage: $0 FOLDER COMMAND [ARGUMENT…]" >&2; exit 2; }
if [ "$(id -u)" -ne 0 ]; then
  echo "$(basename "$0"): only root can install packages" >&2
  exit 77
fi
if ! unshare --mount true 2>/dev/null; then
  echo "$(basename "$0"): this root may not mount, which is needed to install packages for one command" >&2
  exit 77
fi
case "$checkout/" in "${PWD%/}"/*)
  echo "$(basename "$0"): the current folder contains the checkout, which must be hidden: $PWD" >&2
  exit 2
esac

# Only the second process and its children see the mounts below, which end with them.
if [ -z "${ORVA_MACHINE:-}" ]; then
  ORVA_MACHINE=$(mktemp -d)
  trap 'rmdir "$ORVA_MACHINE"' EXIT
  export ORVA_MACHINE
  unshare --mount --propagation private "$0" "$@"
  exit
fi

mount -t tmpfs none "$ORVA_MACHINE"
machine=$ORVA_MACHINE/root
mkdir "$ORVA_MACHINE"/{changes,work,root}
mount -t overlay none -o "lowerdir=/,upperdir=$ORVA_MACHINE/changes,workdir=$ORVA_MACHINE/work" "$machine"
mount --rbind /proc "$machine/proc"
mount --rbind /dev "$machine/dev"
mkdir -p "$machine$checkout"
mount -t tmpfs none "$machine$checkout"
mkdir -p "$machine$PWD"
mount --bind "$PWD" "$machine$PWD"
log=$ORVA_MACHINE/dpkg.log
dpkg --root="$machine" --install "$1"/*.deb >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
exec env -u ORVA_MACHINE chroot "$machine" env -C "$PWD" "${@:2}"
