#!/bin/bash
# Runs a command in another release of Debian, which is kept in a folder:
#   tools/in_debian.sh FOLDER SUITE COMMAND [ARGUMENT...]
# The folder is filled once, from the mirror that this machine installs its own packages
# from. The command finds this project in /src/h5gate and what stands beside it in
# /src/shared, both not to be written to. Everything is mounted in a name space of its
# own, which the kernel takes away with its last process, however that ends.
#
# Exit status 77: there can be no such system here, for the reason that is printed last.
set -eu

folder=$(realpath -m "$1")
suite=$2
source=$(realpath "$(dirname "$0")/..")

cannot() {
  echo "$1"
  exit 77
}

[ "$(id -u)" -eq 0 ] || cannot "a chroot takes root"
if [ "${IN_DEBIAN_MOUNTS:-}" != own ]; then
  unshare --mount true 2> /dev/null || cannot "this machine does not let us mount anything"
  export IN_DEBIAN_MOUNTS=own
  exec unshare --mount --propagation private "$0" "$@"
fi
shift 2

# Of apt's sources, in whichever format: where the packages of this very release are from.
mirror() {
  # shellcheck disable=SC1091,SC2016  # a file of the system; what apt itself expands
  apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' |
    awk -v release="$(. /etc/os-release && echo "${VERSION_CODENAME:-stable}")" \
      '($1 == release || $1 == "stable") && $2 == "main" { print $3; exit }'
}

# The mark is made last: a folder without it is what an interrupted run left behind.
complete=$folder/etc/in-debian-complete
if [ ! -e "$complete" ]; then
  command -v debootstrap > /dev/null || cannot "debootstrap is not installed"
  from=$(mirror)
  [ -n "$from" ] || cannot "apt's sources name no mirror of Debian"
  rm -rf --one-file-system "$folder"
  mkdir -p "$folder"
  log=$folder.log
  debootstrap --variant=minbase "$suite" "$folder" "$from" > "$log" 2>&1 ||
    cannot "debootstrap failed: $(tail -n 1 "$log")"
  touch "$complete"
fi

bind() {
  mkdir -p "$folder$2"
  mount --bind "$1" "$folder$2"
  mount -o remount,bind,ro "$folder$2"
}
bind "$source" /src/h5gate
[ ! -d "$source/../shared" ] || bind "$(realpath "$source/../shared")" /src/shared
mount -t proc proc "$folder/proc"
mount --rbind /dev "$folder/dev"
cp --dereference /etc/resolv.conf "$folder/etc/resolv.conf"

exec chroot "$folder" /usr/bin/env -i HOME=/root LANG=C.UTF-8 \
  PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
